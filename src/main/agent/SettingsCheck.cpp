// SPDX-License-Identifier: MIT
#include "main/agent/SettingsCheck.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "config/ConfigFileReader.h"
#include "config/SettingLine.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/LineReader.h"
#include "foundation/Piece.h"
#include "messages/MessageHelper.h"
#include "record/SafeText.h"
#include "util/NumberFormatException.h"
#include "util/Utils.h"

namespace vexo {
namespace {

constexpr std::size_t kMaxCredentialBytes = 255;

enum class Kind { kText, kCredential, kNumber, kSwitch, kOutput };

struct Setting {
    StringView name;
    Kind kind;
};

constexpr Setting kSettings[] = {
    {L"SERVER",         Kind::kCredential},
    {L"USER",           Kind::kCredential},
    {L"PASSWORD",       Kind::kCredential},
    {L"REFRESH",        Kind::kNumber    },
    {L"LIMIT",          Kind::kNumber    },
    {L"OUTPUT",         Kind::kOutput    },
    {L"NAME",           Kind::kText      },
    {L"FILES",          Kind::kSwitch    },
    {L"SESSIONS",       Kind::kSwitch    },
    {L"CONNECTIONS",    Kind::kSwitch    },
    {L"RESOURCES",      Kind::kSwitch    },
    {L"COMMUNICATIONS", Kind::kSwitch    },
    {L"HANDLES",        Kind::kSwitch    },
};

// The setting that a name in the file sets.
const Setting* settingOf(StringView written) {
    const String key = keyOf(written);
    const auto* const found = std::find_if(std::begin(kSettings), std::end(kSettings),
                                           [&key](const Setting& setting) { return keyOf(setting.name) == key; });
    return found != std::end(kSettings) ? found : nullptr;
}

// What the file holds, fit for a terminal.
std::string shown(StringView text) {
    return safeText(narrow(text));
}

std::optional<int> numberIn(StringView text) {
    try {
        return Utils::parseInt(text);
    } catch (const NumberFormatException&) {
        return std::nullopt;
    }
}

// Examines a file line by line, as ConfigFileReader takes it.
class Check {
public:
    explicit Check(String path) : m_path(std::move(path)), m_messages("AGENT", "AGENT_") {}

    std::vector<Finding> run();

private:
    struct Known {
        int line;
        String value;
    };

    void examineLine(StringView line);
    void examineName(StringView written, const Setting& setting);
    void examineValue(const Setting& setting, StringView value);
    void examineNumber(const Setting& setting, StringView value);
    void examineOutput(StringView value);
    void examineWhole();
    void examineTimer();
    void examinePermissions();
    StringView valueOf(StringView name) const;

    template <typename... Arguments>
    void add(bool changesMeaning, const char* key, Arguments... arguments) {
        m_findings.push_back({m_line, changesMeaning, m_messages.getResStr(key, arguments...)});
    }

    const String m_path;
    const MessageHelper m_messages;
    std::map<StringView, Known> m_known;  // by the setting's name
    std::vector<Finding> m_findings;
    int m_line = 0;
};

std::vector<Finding> Check::run() {
    LineReader reader(openForReading(m_path), m_path, kMaxSettingLineBytes);
    String line;
    while (reader.readLine(line)) {
        m_line = reader.lineNumber();
        const StringView setting = settingIn(line);
        if (!setting.empty()) examineLine(setting);
    }
    examineWhole();
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const Finding& left, const Finding& right) { return left.line < right.line; });
    return std::move(m_findings);
}

void Check::examineLine(StringView line) {
    // The line is not shown: what has no name may be the password.
    const auto separators = std::count(line.begin(), line.end(), L'=');
    const auto parts = takeApart(line);
    if (separators == 0) return add(true, "CHECK_NO_EQUALS");
    if (!parts) return add(true, "CHECK_NO_NAME");
    const Setting* const setting = settingOf(parts->name);
    if (!setting) return add(true, "CHECK_UNKNOWN", shown(trim(parts->name)).c_str());
    examineName(parts->name, *setting);

    const StringView value = parts->value;
    const auto [known, fresh] = m_known.try_emplace(setting->name, Known{m_line, String(value)});
    if (!fresh) {
        add(true, "CHECK_REPEATED", narrow(setting->name).c_str(), known->second.line);
        known->second = {m_line, String(value)};
    }
    if (parts->pieces > 2) return add(true, "CHECK_EQUALS_EMPTY", narrow(setting->name).c_str());
    if (separators > 1) return add(true, "CHECK_EQUALS_LOST", narrow(setting->name).c_str());
    examineValue(*setting, value);
}

void Check::examineName(StringView written, const Setting& setting) {
    const std::string canonical = narrow(setting.name);
    const StringView name = trim(written);
    const bool begins = startsWithIgnoreCase(name, setting.name) || startsWithIgnoreCase(setting.name, name);
    if (!begins) add(true, "CHECK_OTHER_NAME", shown(name).c_str(), canonical.c_str());
    if (name.size() != written.size()) add(false, "CHECK_BLANK_NAME", canonical.c_str());
}

void Check::examineValue(const Setting& setting, StringView value) {
    const std::string name = narrow(setting.name);
    const bool blank = !value.empty() && trim(value).size() != value.size();
    switch (setting.kind) {
        case Kind::kNumber:
            return examineNumber(setting, value);
        case Kind::kOutput:
            return examineOutput(value);
        case Kind::kSwitch:
            if (blank && equalsIgnoreCase(trim(value), L"NO")) return add(true, "CHECK_BLANK_NO", name.c_str());
            if (!equalsIgnoreCase(trim(value), L"NO") && !equalsIgnoreCase(trim(value), L"YES"))
                add(!value.empty(), "CHECK_MEANS_YES", name.c_str(), shown(trim(value)).c_str());
            return;
        default:
            if (blank) add(true, "CHECK_BLANK_VALUE", name.c_str());
            if (setting.kind == Kind::kCredential && narrow(value).size() > kMaxCredentialBytes)
                add(true, "CHECK_TOO_LONG", name.c_str(), static_cast<int>(kMaxCredentialBytes));
    }
}

void Check::examineNumber(const Setting& setting, StringView value) {
    const std::string name = narrow(setting.name);
    const std::string text = shown(trim(value));
    const auto number = numberIn(value);
    if (value.empty()) return;
    if (!number) return add(true, "CHECK_NO_NUMBER", name.c_str(), text.c_str());
    if (*number < 0) return add(true, "CHECK_NEGATIVE", name.c_str(), text.c_str());
    if (setting.name == L"REFRESH" && *number > 0 && *number < kMinRefreshSeconds)
        add(true, "CHECK_REFRESH_RAISED", *number, kMinRefreshSeconds);
}

void Check::examineOutput(StringView value) {
    const bool onConsole = startsWithIgnoreCase(value, L"CONS") || startsWithIgnoreCase(value, L"BOTH");
    if (onConsole || value.empty() || startsWithIgnoreCase(value, L"FILE")) return;
    add(true, "CHECK_OUTPUT", shown(value).c_str());
}

void Check::examineWhole() {
    examineTimer();
    examinePermissions();
    m_line = 0;
    try {
        ConfigFileReader(m_path).readConfiguration();
    } catch (const Exception& error) {
        m_findings.push_back({0, true, error.message()});
    }
}

StringView Check::valueOf(StringView name) const {
    const auto known = m_known.find(name);
    return known != m_known.end() ? StringView(known->second.value) : StringView();
}

void Check::examineTimer() {
    const auto limit = m_known.find(L"LIMIT");
    const int refresh = numberIn(valueOf(L"REFRESH")).value_or(0);
    const int records = numberIn(valueOf(L"LIMIT")).value_or(0);
    m_line = limit != m_known.end() ? limit->second.line : 0;
    if (refresh > 0 && records <= 0) add(false, "CHECK_NO_LIMIT");
    if (refresh <= 0 && records > 0) add(true, "CHECK_LIMIT_ALONE");
}

void Check::examinePermissions() {
    constexpr mode_t kReadableByOthers = S_IRGRP | S_IROTH;
    struct stat status {};
    const auto password = m_known.find(L"PASSWORD");
    if (password == m_known.end() || password->second.value.empty()) return;
    m_line = password->second.line;
    if (::stat(narrow(m_path).c_str(), &status) == 0 && (status.st_mode & kReadableByOthers) != 0)
        add(false, "CHECK_READABLE", narrow(m_path).c_str());
}

}  // namespace

std::vector<Finding> checkSettings(const String& path) {
    // Refused in the words of the reader.
    try {
        return Check(path).run();
    } catch (const Exception&) {
        ConfigFileReader(path).readConfiguration();
        throw;
    }
}

}  // namespace vexo
