// SPDX-License-Identifier: MIT
#include "config/ConfigFileReader.h"

#include <algorithm>
#include <utility>

#include "config/ConfigException.h"
#include "config/SettingLine.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "util/NumberFormatException.h"
#include "util/Utils.h"

namespace vexo {
namespace {

// An unreadable or negative number silently counts as 0.
std::int32_t parseCount(const String& text) {
    try {
        return std::max(Utils::parseInt(text), 0);
    } catch (const NumberFormatException&) {
        return 0;
    }
}

}  // namespace

ConfigFileReader::ConfigFileReader(String path)
    : m_path(std::move(path)), m_messages(makeRef<MessageHelper>("VEXO", "VEXO_")) {
}

std::unique_ptr<ConfigData> ConfigFileReader::readConfiguration() {
    FileDescriptor file;
    try {
        file = openForReading(m_path);
    } catch (const ResultException& failure) {
        throwError(failure.code());
    }
    m_settings.clear();
    m_settings.max_load_factor(0.75F);
    m_settings.rehash(101);

    LineReader reader(std::move(file), m_path, kMaxSettingLineBytes);
    try {
        readSettings(reader);
    } catch (const StreamException& failure) {
        throwReadError(systemReason(failure.errorNumber()), failure.code());
    } catch (const LineTooLongException&) {
        throw ConfigException(m_messages->getResStr("ERR_LINE_TOO_LONG", narrow(m_path).c_str(), reader.lineNumber(),
                                                    static_cast<int>(kMaxSettingLineBytes)));
    }
    m_data = std::make_unique<ConfigData>();
    setValues();
    return std::move(m_data);
}

void ConfigFileReader::readSettings(LineReader& reader) {
    String line;
    while (reader.readLine(line)) {
        const StringView setting = settingIn(line);
        if (!setting.empty()) addConfigSetting(setting, reader.lineNumber());
    }
}

void ConfigFileReader::addConfigSetting(StringView setting, int lineNumber) {
    if (const auto parts = takeApart(setting)) m_settings[keyOf(parts->name)] = {String(parts->value), lineNumber};
}

void ConfigFileReader::setValues() {
    m_data->server = getValue(L"SERV", true);
    m_data->userName = getValue(L"USER", false);
    m_data->password = getValue(L"PASS", false);
    setRefreshRate();
    setRefreshlimit();
    setOutputTypes();
    m_data->logFileName = getValue(L"NAME", false);
    if (m_data->logFileName.empty()) m_data->logFileName = L"monitor.log";
    m_data->showFiles = getBooleanValue(L"FILE", true);
    m_data->showSessions = getBooleanValue(L"SESS", true);
    m_data->showConnections = getBooleanValue(L"CONN", true);
    m_data->showResources = getBooleanValue(L"RESO", true);
    m_data->showCommunications = getBooleanValue(L"COMM", true);
    m_data->showHandles = getBooleanValue(L"HAND", true);
}

void ConfigFileReader::setRefreshRate() {
    const std::int32_t seconds = parseCount(getValue(L"REFR", false));
    m_data->refreshRate = seconds == 0 ? 0 : std::max(seconds, kMinRefreshSeconds);
}

void ConfigFileReader::setRefreshlimit() {
    const std::int32_t limit = parseCount(getValue(L"LIMI", false));
    // A limit counts the records of the timer mode; records on request have none.
    m_data->refreshLimit = m_data->refreshRate == 0 ? 0 : limit;
}

void ConfigFileReader::setOutputTypes() {
    m_data->outputType = getValue(L"OUTP", true);
    const bool console = startsWithIgnoreCase(m_data->outputType, L"CONS");
    const bool both = startsWithIgnoreCase(m_data->outputType, L"BOTH");
    m_data->consoleOutput = console || both;
    m_data->fileOutput = !console;
}

String ConfigFileReader::getValue(const String& key, bool required) const {
    const auto setting = m_settings.find(key);
    if (setting == m_settings.end()) {
        throw ConfigException(m_messages->getResStr("ERR_MISSING_TAG", narrow(key).c_str()));
    }
    const auto& [value, lineNumber] = setting->second;
    if (required && value.empty()) {
        throw ConfigException(m_messages->getResStr("ERR_MISSING_TAG_VALUE", narrow(key).c_str()));
    }
    // The system and the engine would take the value to end there.
    if (value.find(L'\0') != String::npos) {
        throw ConfigException(m_messages->getResStr("ERR_VALUE_NUL", narrow(key).c_str(), lineNumber));
    }
    return value;
}

bool ConfigFileReader::getBooleanValue(const String& key, bool defaultValue) const {
    const String value = getValue(key, false);
    return value.empty() ? defaultValue : !equalsIgnoreCase(value, L"NO");
}

void ConfigFileReader::throwError(ResultCode code) const {
    if (code != kAccessDenied && code != kFileNotFound) throw ResultException(code);
    throwReadError(m_messages->getResStr(code == kAccessDenied ? "ACCESS_ERROR" : "FILE_NOT_FOUND_ERROR"), code);
}

void ConfigFileReader::throwReadError(const String& reason, ResultCode code) const {
    throw IOException(m_messages->getResStr("ERR_READ_FILE", narrow(m_path).c_str(), narrow(reason).c_str(), code),
                      code);
}

}  // namespace vexo
