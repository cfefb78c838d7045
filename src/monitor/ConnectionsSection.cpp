// SPDX-License-Identifier: MIT
// The connections of the SQL connection manager.
#include "monitor/MonitorProcessor.h"
#include "monitor/ReportWriter.h"

namespace vexo {

void MonitorProcessor::processActiveConnections(bool json) {
    const auto connections = m_engine->getConnInfoList();
    ReportWriter out(*m_format, json);

    // Established output: title and keys speak of sessions, the entries are connections.
    out.title(0, L"SQL Connection Manager Active Sessions: ", connections->size());
    out.json(L"\t\"sql_connection_manager_active_sessions\": ");
    out.json(L"\t{");
    out.json(L"\t\t\"sql_connection_manager_number_of_active_sessions\": ", connections->size(), L",");
    out.json(L"\t\t\"session_info\": [");
    int number = 0;
    for (const Ref<ConnInfo>& connection : *connections) {
        ++number;
        // Established output: a blank after "#", unlike the sessions report.
        out.title(1, L"Session Info: # ", number);
        out.json(L"\t\t{");
        processActiveConnectionInfo(connection.get(), json);
        out.json(number != connections->size() ? StringView(L"\t\t},") : StringView(L"\t\t}"));
    }
    out.json(L"\t\t]");
    out.json(L"\t},");
}

void MonitorProcessor::processActiveConnectionInfo(const ConnInfo* connection, bool json) {
    ReportWriter out(*m_format, json);
    const StringView status = getStatusString(connection->connectionStatus);
    const std::uint64_t period = connection->activeIdlePeriodMs;
    const std::uint64_t total = connection->totalConnectionTime;

    // Established output: no text is escaped.
    // Established output: slash, capital and parentheses are part of the key of the period.
    const Row rows[] = {
        {L"User Name:              ", L"\t\t\t\"user_name\": \"",            connection->userName,          L"\","},
        {L"Client Host Name:       ", L"\t\t\t\"client_host_name\": \"",     connection->clientHostName,    L"\","},
        {L"Network Address:        ", L"\t\t\t\"network_address\": \"",      connection->networkAddress,    L"\","},
        {L"Client Application:     ", L"\t\t\t\"client_application\": \"",   connection->clientApplication, L"\","},
        {L"Data Source Name:       ", L"\t\t\t\"data_source_name\": \"",     connection->dataSourceName,    L"\","},
        {L"Connection Status:      ", L"\t\t\t\"connection_status\": \"",    status,                        L"\","},
        {L"Active/Idle Period(ms): ", L"\t\t\t\"active/idle_Period(ms)\": ", period,                        L","  },
        {L"Total Connection Time:  ", L"\t\t\t\"total_connection_time\": ",  total,                         L""   },
    };
    out.rows(1, rows);
}

}  // namespace vexo
