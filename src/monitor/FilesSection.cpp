// SPDX-License-Identifier: MIT
// The open files and, with handle detail, the handles that clients hold on each.
#include "monitor/MonitorProcessor.h"
#include "monitor/ReportWriter.h"
#include "util/Utils.h"

namespace vexo {

void MonitorProcessor::processActiveFiles(bool json) {
    const bool withHandles = m_configuration->showHandles;
    const auto files = m_engine->getActiveFileInfoList(withHandles);
    ReportWriter out(*m_format, json);

    out.title(0, L"Active Files:  ", files->size());
    out.json(L"\t\"active_files\": ");
    out.json(L"\t{");
    out.json(L"\t\t\"number_of_active_files\": ", files->size(), L",");
    out.json(L"\t\t\"active_files_info\": [");
    int number = 0;
    for (const Ref<FileInfo>& file : *files) {
        ++number;
        out.json(L"\t\t\t{");
        processActiveFileInfo(file.get(), json);
        if (withHandles) {
            const List<FileHandleInfo>& handles = *file->handles;
            out.title(2, L"File Handles: ", handles.size());
            out.json(L"\t\t\t\t\"file_handles\": ", handles.size(), L",");
            out.json(L"\t\t\t\t\"handle_info\": [");
            int handleNumber = 0;
            for (const Ref<FileHandleInfo>& handle : handles) {
                ++handleNumber;
                out.title(3, L"Handle Info: #", handleNumber);
                out.json(L"\t\t\t\t\t{");
                processActiveFileHDLInfo(handle.get(), json);
                out.json(handleNumber < handles.size() ? StringView(L"\t\t\t\t\t},") : StringView(L"\t\t\t\t\t}"));
            }
            out.json(L"\t\t\t\t]");
        }
        out.json(number < files->size() ? StringView(L"\t\t\t},") : StringView(L"\t\t\t}"));
    }
    out.json(L"\t\t]");
    out.json(L"\t},");
}

void MonitorProcessor::processActiveFileInfo(const FileInfo* file, bool json) {
    ReportWriter out(*m_format, json);
    const StringView readOnly = getReadOnlyFlagString(file->readOnlyFlag);
    const StringView readLocks = getRecordLocksString(file->readLocks);
    const StringView lock = getTransactionLockString(file->transactionLock);

    out.title(1, L"Active File Info:  ", file->fileName);
    if (json) {
        String escaped = file->fileName;
        Utils::addBackslashChars(escaped, L'\\');
        out.json(L"\t\t\t\t\"active_file_name\": \"", escaped, L"\",");
    }
    // Established output: the third line speaks of record locks in its label and of read locks in its key.
    // Established output: the last line has its comma although nothing follows without handle detail.
    const Row rows[] = {
        {L"Page Size:             ", L"\t\t\t\t\"page_size\": ",             file->pageSize,           L","},
        {L"Read-Only Flag:        ", L"\t\t\t\t\"read_only_flag\": ",        readOnly,                 L","},
        {L"Record Locks:          ", L"\t\t\t\t\"read_locks\": ",            readLocks,                L","},
        {L"Transaction Lock:      ", L"\t\t\t\t\"transaction_lock\": ",      lock,                     L","},
        {L"Physical File Size KB: ", L"\t\t\t\t\"physical_file_size_kb\": ", file->physicalFileSizeKB, L","},
    };
    out.rows(1, rows);
}

void MonitorProcessor::processActiveFileHDLInfo(const FileHandleInfo* handle, bool json) {
    ReportWriter out(*m_format, json);
    const auto client = static_cast<std::uint64_t>(handle->clientIndex);
    const StringView name = handle->clientName;
    const StringView mode = getOpenModeString(handle->openMode);
    const StringView lock = getRecordLockTypeString(handle->recordLockType);
    const StringView wait = getWaitStateString(handle->waitState);
    const StringView state = getTransStateString(handle->transactionState);

    // Established output: the name is not escaped.
    // Established output: the blank of "transaction_state" stands before its colon instead of after it.
    const Row rows[] = {
        {L"Client Index:      ", L"\t\t\t\t\t\t\"client_index\": ",        client, L","  },
        {L"Client Name:       ", L"\t\t\t\t\t\t\"client_name\": \"",       name,   L"\","},
        {L"Open Mode:         ", L"\t\t\t\t\t\t\"open_mode\": [ ",         mode,   L" ],"},
        {L"Record Lock Type:  ", L"\t\t\t\t\t\t\"record_lock_type\": \"",  lock,   L"\","},
        {L"Wait State:        ", L"\t\t\t\t\t\t\"wait_state\": \"",        wait,   L"\","},
        {L"Transaction State: ", L"\t\t\t\t\t\t\"transaction_state\" :\"", state,  L"\"" },
    };
    out.rows(3, rows);
}

}  // namespace vexo
