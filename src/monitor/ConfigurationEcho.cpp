// SPDX-License-Identifier: MIT
// What the monitor was configured to do, and the header before the first record. User name and password are never
// echoed, and no value is escaped.
#include "monitor/MonitorProcessor.h"
#include "util/Utils.h"

namespace vexo {
namespace {

constexpr int kText = 0;
constexpr int kNumber = 1;
constexpr int kYesNo = 2;

constexpr int kLabelWidth = 21;

}  // namespace

void MonitorProcessor::printConfigurationNV(StringView name, StringView value, bool json, int kind) {
    if (!json) {
        String label = concat(name, L":");
        FormatHelper::padToLen(label, kLabelWidth);
        m_format->putPieces({label, value}, 0);
    } else if (name == L"handle_detail") {
        m_format->putPieces({L"\t\t\"", name, L"\": ", value}, 0);
    } else if (kind == kText) {
        m_format->putPieces({L"\t\t\"", name, L"\": \"", value, L"\","}, 0);
    } else {
        m_format->putPieces({L"\t\t\"", name, L"\": ", value, L","}, 0);
    }
}

void MonitorProcessor::printConfiguration(bool json) {
    const ConfigData& data = *m_configuration;
    const auto item = [&](StringView textName, StringView jsonName, StringView value, int kind) {
        printConfigurationNV(json ? jsonName : textName, value, json, kind);
    };
    const auto yesNo = [&](bool shown) -> StringView {
        return json ? (shown ? L"true" : L"false") : (shown ? L"Yes" : L"No");
    };

    if (json) {
        m_format->putPieces({L"\t\"time\": \"", Utils::getTime("%FT%T%z"), L"\","}, 0);
        m_format->putData(L"\t\"user_configuration\":", 0);
        m_format->putData(L"\t{", 0);
    } else {
        m_format->putPieces({L"<", Utils::getTime("%a %b %d %I:%M:%S %Z %Y"), L">"}, 0);
        m_format->putData(L"", 0);
        m_format->putData(m_messages->getResStr("HDR_USR_CONFIG"), 0);
    }
    item(L"Server", L"server", data.server, kText);
    item(L"Refresh Rate(secs)", L"refresh_rate(secs)", decimal(data.refreshRate), kNumber);
    item(L"Refresh Limit", L"refresh_limit", decimal(data.refreshLimit), kNumber);
    item(L"Output", L"output", data.outputType, kText);
    item(L"File Name", L"file_name", data.logFileName, kText);
    if (!json) m_format->putData(L"//Monitor Activities", 0);
    item(L"Files", L"files_statistics", yesNo(data.showFiles), kYesNo);
    item(L"Sessions", L"sessions_statistics", yesNo(data.showSessions), kYesNo);
    item(L"Connections", L"connections_statistics", yesNo(data.showConnections), kYesNo);
    item(L"Resource Stats", L"resource_statistics", yesNo(data.showResources), kYesNo);
    item(L"Communication Stats", L"communication_statistics", yesNo(data.showCommunications), kYesNo);
    item(L"Handle Detail", L"handle_detail", yesNo(data.showHandles), kYesNo);
    if (json) {
        m_format->putData(L"\t},", 0);
    } else {
        m_format->putData(m_messages->getResStr("HDR_END_CFG"), 0);
        m_format->putData(L"", 0);
    }
}

void MonitorProcessor::printRecordHeader(bool json) {
    const String version = m_engine->getEngineVersion();
    if (json) {
        m_format->putPieces({L"\t\"engine_version\": \"", version, L"\","}, 0);
        m_format->putPieces({L"\t\"start_record_time\": \"", Utils::getTime("%FT%T%z"), L"\","}, 0);
    } else {
        m_format->putHeader(concat(L"Engine Version: ", version), 0);
        m_format->putHeader(concat(L"*** START RECORD ", Utils::getTime("%m/%d/%y %I:%M %p"), L" ***"), 0);
    }
}

}  // namespace vexo
