// SPDX-License-Identifier: MIT
// The sessions of the transactional engine and, with handle detail, the handles that each of them holds.
#include "monitor/MonitorProcessor.h"
#include "monitor/ReportWriter.h"
#include "util/Utils.h"

namespace vexo {

void MonitorProcessor::processActiveSessions(bool json) {
    const bool withHandles = m_configuration->showHandles;
    const auto sessions = m_engine->getActiveSessionInfoList(withHandles);
    ReportWriter out(*m_format, json);

    out.title(0, L"Kestrin Active Sessions: ", sessions->size());
    out.json(L"\t\"kestrin_active_sessions\": ");
    out.json(L"\t{");
    // Established output: no blank after the colon.
    out.json(L"\t\t\"number_of_kestrin_active_sessions\":", sessions->size(), L",");
    out.json(L"\t\t\"active_session_info\": [");
    int number = 0;
    for (const Ref<SessionInfo>& session : *sessions) {
        ++number;
        out.title(1, L"Active Session Info: #", number);
        out.json(L"\t\t{");
        processActiveSessionInfo(session.get(), json);
        if (withHandles) {
            const List<SessionHandleInfo>& handles = *session->handles;
            out.title(2, L"Session Handles: ", handles.size());
            out.json(L"\t\t\t\"session_handles\": {");
            out.json(L"\t\t\t\t\"number_of_session_handles\": ", handles.size(), L",");
            out.json(L"\t\t\t\t\"session_handles_info\": [");
            int handleNumber = 0;
            for (const Ref<SessionHandleInfo>& handle : handles) {
                ++handleNumber;
                out.title(3, L"Handle ", handleNumber, L" Info: ", handle->fileName);
                out.json(L"\t\t\t\t\t{");
                processActiveSessionHDInfo(handle.get(), json);
                out.json(handleNumber < handles.size() ? StringView(L"\t\t\t\t\t},") : StringView(L"\t\t\t\t\t}"));
            }
            out.json(L"\t\t\t\t]");
            out.json(L"\t\t\t}");
        }
        out.json(number != sessions->size() ? StringView(L"\t\t},") : StringView(L"\t\t}"));
    }
    out.json(L"\t\t]");
    out.json(L"\t},");
}

void MonitorProcessor::processActiveSessionInfo(const SessionInfo* session, bool json) {
    ReportWriter out(*m_format, json);
    const String connection = getConnectionString(session->connectionNumber);
    const int task = session->clientId->taskNumber;
    // Only the low 16 bits of these two are the code.
    const StringView site = getSiteString(static_cast<std::int16_t>(session->site));
    const StringView state = getTransStateString(static_cast<std::int16_t>(session->transactionState));

    // Established output: names and addresses are not escaped.
    // Established output: the client's identifier is not shown.
    // Established output: the connection number is a string in JSON, also when it is a number.
    // Established output: the last line has its comma although nothing follows without handle detail.
    const Row rows[] = {
        {L"Session Name:        ", L"\t\t\t\"session_name\": \"",      session->sessionName,     L"\","},
        {L"Client ID:           ", L"\t\t\t\"client_id\": \"n/a\",",   L"",                      L""   },
        {L"Connection Number:   ", L"\t\t\t\"connection_number\": \"", connection,               L"\","},
        {L"Task Number:         ", L"\t\t\t\"task_number\": ",         task,                     L","  },
        {L"PID:                 ", L"\t\t\t\"PID\": ",                 session->pid,             L","  },
        {L"Site:                ", L"\t\t\t\"site\": \"",              site,                     L"\","},
        {L"Network Address:     ", L"\t\t\t\"network_address\": \"",   session->networkAddress,  L"\","},
        {L"Locks used:          ", L"\t\t\t\"locks_used\": ",          session->locksUsed,       L","  },
        {L"Transaction State:   ", L"\t\t\t\"transaction_state\": \"", state,                    L"\","},
        {L"Records Read:        ", L"\t\t\t\"records_read\": ",        session->recordsRead,     L","  },
        {L"Records Inserted:    ", L"\t\t\t\"records_inserted\": ",    session->recordsInserted, L","  },
        {L"Records Deleted:     ", L"\t\t\t\"records_deleted\": ",     session->recordsDeleted,  L","  },
        {L"Records Updated:     ", L"\t\t\t\"records_updated\": ",     session->recordsUpdated,  L","  },
        {L"Disk Accesses:       ", L"\t\t\t\"disk_accesses\": ",       session->diskAccesses,    L","  },
        {L"Cache Accesses:      ", L"\t\t\t\"cache_accesses\": ",      session->cacheAccesses,   L","  },
    };
    out.rows(1, rows);
}

void MonitorProcessor::processActiveSessionHDInfo(const SessionHandleInfo* handle, bool json) {
    ReportWriter out(*m_format, json);
    const StringView mode = getOpenModeString(handle->openMode);
    const StringView lock = getRecordLockTypeString(handle->recordLockType);
    const StringView wait = getWaitStateString(handle->waitState);
    const StringView state = getTransStateString(handle->transactionState);

    if (json) {
        String escaped(handle->fileName);
        Utils::addBackslashChars(escaped, L'\\');
        // Established output: no blank after the colon.
        out.json(L"\t\t\t\t\t\t\"handle_file_name\":\"", escaped, L"\",");
    }
    // Established output: no blank after "[", unlike the same line of the files report.
    const Row rows[] = {
        {L"Open Mode:           ", L"\t\t\t\t\t\t\"open_mode\": [",          mode,  L" ],"},
        {L"Record Lock Type:    ", L"\t\t\t\t\t\t\"record_lock_type\": \"",  lock,  L"\","},
        {L"Wait State:          ", L"\t\t\t\t\t\t\"wait_state\": \"",        wait,  L"\","},
        {L"Transaction State:   ", L"\t\t\t\t\t\t\"transaction_state\": \"", state, L"\"" },
    };
    out.rows(3, rows);
}

}  // namespace vexo
