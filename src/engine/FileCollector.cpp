// SPDX-License-Identifier: MIT
// Open files and the handles on them.
#include <array>

#include "engine/QRIMonitorHelper.h"

namespace vexo {
namespace {

Ref<FileInfo> toFileInfo(String name, const XRFILEINFO& raw, Ref<List<FileHandleInfo>> handles) {
    return makeRef<FileInfo>(std::move(name), raw.pageSize, raw.readOnlyFlag, raw.readLocks, raw.transactionLock,
                             raw.physicalFileSizeKB, std::move(handles));
}

Ref<FileHandleInfo> toFileHandleInfo(const XRFILEHANDLEINFO& raw, SharedString clientName) {
    return makeRef<FileHandleInfo>(raw.clientIndex, raw.recordLockType, raw.openMode, raw.waitState,
                                   raw.transactionState, std::move(clientName));
}

}  // namespace

Ref<List<FileInfo>> QRIMonitorHelper::collectFiles(Handles handles) {
    std::uint32_t count = 0;
    check(m_api.XrGetOpenFilesData(m_handle, &count));  // nothing to free yet
    const Snapshot snapshot(m_api.XrFreeOpenFilesData, m_handle);
    auto files = makeRef<List<FileInfo>>();
    NamePool clients;
    RawArea<std::array<char, XR_NAME_SIZE + 1>> nameArea;
    RawArea<XRFILEINFO> area;
    char* const name = nameArea.record.data();
    for (std::uint32_t index = 0; index < count; ++index) {
        nameArea.clear();
        area.clear();
        std::uint32_t size = XR_NAME_SIZE;
        const int status = m_api.XrGetOpenFileName(m_handle, index, &size, name);
        name[XR_NAME_SIZE] = '\0';  // terminates a name that fills its buffer
        if (status == XR_NO_MORE_ITEMS) break;
        check(status);

        const int found = m_api.XrGetFileInfo2(m_handle, name, &area.record);
        if (found == XR_FILE_GONE) {
            ++m_vanished;
            continue;
        }
        check(found);

        auto held = handles == Handles::kNone ? makeRef<List<FileHandleInfo>>() : collectFileHandles(name, clients);
        if (handles == Handles::kOnlyHolders && held->empty()) continue;
        files->add(toFileInfo(widen(rawText(name, XR_NAME_SIZE)), area.record, std::move(held)));
    }
    return files;
}

Ref<List<FileHandleInfo>> QRIMonitorHelper::getFileHandleInfoList(const String& fileName) {
    NamePool clients;
    return collectFileHandles(narrowUpTo(fileName, XR_NAME_SIZE - 1).c_str(), clients);
}

Ref<List<FileHandleInfo>> QRIMonitorHelper::collectFileHandles(const char* fileName, NamePool& clients) {
    auto handles = makeRef<List<FileHandleInfo>>();
    std::uint32_t count = 0;
    const int status = m_api.XrGetFileHandlesData(m_handle, fileName, &count);
    if (status == XR_FILE_GONE) return handles;
    check(status);
    handles->expect(count);
    RawArea<XRFILEHANDLEINFO> area;
    for (std::uint32_t index = 0; index < count; ++index) {
        area.clear();
        const int found = m_api.XrGetFileHandleInfo(m_handle, fileName, index, &area.record);
        if (found == XR_NO_MORE_ITEMS) break;
        if (found == XR_FILE_GONE) {
            ++m_vanished;
            handles->clear();
            break;
        }
        check(found);
        handles->add(toFileHandleInfo(area.record, clients.get(lastText(area, area.record.clientName))));
    }
    return handles;
}

}  // namespace vexo
