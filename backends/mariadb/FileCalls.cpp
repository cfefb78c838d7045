// SPDX-License-Identifier: MIT
// Open files and the handles on them.
#include "FileCalls.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>

#include "Activity.h"
#include "Files.h"
#include "Handles.h"
#include "Names.h"
#include "Texts.h"

using namespace xrmariadb;

namespace {

constexpr std::uint8_t kYes = 'Y';
constexpr std::uint8_t kNo = 'N';

std::uint8_t flag(bool value) {
    return value ? kYes : kNo;
}

std::uint32_t pageSize(const Engine& engine, const OpenFile& file) {
    const std::string_view kind = extension(file.path);
    if (kind == "MAI" || kind == "MAD") return saturate(engine.number("aria_block_size"));
    if (kind == "MYI") return saturate(engine.number("myisam_block_size"));
    return 0;
}

// Only for a server on this machine, and only where this process may look.
std::uint32_t sizeOnDiskKB(Engine& engine, const OpenFile& file) {
    struct stat status {};
    if (!engine.connection().overUnixSocket() || stat(file.path.c_str(), &status) != 0) return 0;
    return kilobytes(static_cast<std::uint64_t>(status.st_size));
}

XRFILEINFO describe(Engine& engine, const Files& files, const OpenFile& file) {
    XRFILEINFO info{};
    info.readOnlyFlag = flag(file.transactional && engine.isOn("innodb_read_only"));
    info.readLocks = kNo;
    info.transactionLock = kNo;
    if (const Tablespace* tablespace = files.tablespaceOf(file)) {
        info.pageSize = tablespace->pageSize;
        info.physicalFileSizeKB = kilobytes(tablespace->size);
    } else {
        info.pageSize = pageSize(engine, file);
        info.physicalFileSizeKB = sizeOnDiskKB(engine, file);
    }
    return info;
}

// Lets the handles find their files. A partition that some handles name has these, and those on the whole table of all
// other clients.
void sortByFile(FileSnapshot& snapshot, const std::vector<LockedTable>& tables) {
    std::map<std::string, std::string> wholeOf;
    for (std::uint32_t index = 0; index < snapshot.handles.size(); ++index) {
        const LockedTable& table = tables[snapshot.handles[index].table];
        snapshot.handlesByKey[table.key].push_back(index);
        if (table.whole >= 0) wholeOf.emplace(table.key, tables[static_cast<std::size_t>(table.whole)].key);
    }
    for (const auto& [partition, whole] : wholeOf) {
        std::vector<std::uint32_t>& handles = snapshot.handlesByKey[partition];
        std::set<std::uint32_t> named;
        for (const std::uint32_t index : handles)
            named.insert(snapshot.handles[index].session);
        for (const std::uint32_t index : snapshot.handlesByKey[whole])
            if (named.count(snapshot.handles[index].session) == 0) handles.push_back(index);
    }
}

void readHandles(Engine& engine, Files& files, FileSnapshot& snapshot) {
    const std::vector<Process> processes = readProcesses(engine);
    Transactions transactions = readTransactions(engine);
    TableLocks locks = readTableLocks(engine, readThreads(engine));
    files.resolve(locks.tables);
    files.locate(transactions.conflicts, locks.tables);
    LockPicture picture = joinLocks(processes, transactions, locks);
    snapshot.clients.reserve(processes.size());
    for (const Process& process : processes)
        snapshot.clients.push_back({process.id, clientName(process, sizeof XRFILEHANDLEINFO::clientName)});
    snapshot.handles = std::move(picture.handles);
    snapshot.handles.insert(snapshot.handles.end(), picture.wholeTables.begin(), picture.wholeTables.end());
    for (auto& [transaction, handle] : picture.detached) {
        handle.session = static_cast<std::uint32_t>(snapshot.clients.size());
        snapshot.handles.push_back(handle);
        snapshot.clients.push_back({0, "transaction " + std::to_string(transaction) + " without session"});
    }
    sortByFile(snapshot, locks.tables);
}

const std::vector<std::uint32_t>* handlesOf(const FileSnapshot& snapshot, const OpenFile& file) {
    auto found = snapshot.handlesByKey.find(partitionKey(file.path));
    if (found == snapshot.handlesByKey.end()) found = snapshot.handlesByKey.find(file.key);
    return file.key.empty() || found == snapshot.handlesByKey.end() ? nullptr : &found->second;
}

std::unique_ptr<FileSnapshot> takeSnapshot(Engine& engine) {
    Files files(engine);
    files.readTablespaces();
    auto snapshot = std::make_unique<FileSnapshot>();
    readHandles(engine, files, *snapshot);
    snapshot->files.reserve(files.open().size());
    for (const OpenFile& file : files.open()) {
        FileSnapshot::File entry;
        entry.name = cutUtf8(cleanFileName(file.path), XR_NAME_SIZE - 1);
        entry.info = describe(engine, files, file);
        entry.handles = handlesOf(*snapshot, file);
        if (entry.handles) {
            const auto some = [&](auto condition) {
                return flag(std::any_of(entry.handles->begin(), entry.handles->end(),
                                        [&](std::uint32_t index) { return condition(snapshot->handles[index]); }));
            };
            entry.info.readLocks = some([](const TableHandle& handle) {
                return handle.recordLockType != kNoRecordLock && handle.recordLockType != kUnknownRecordLocks;
            });
            entry.info.transactionLock = some([](const TableHandle& handle) {
                return handle.transactionState != kNoTransaction && !isReadOnly(handle.openMode);
            });
        }
        snapshot->files.push_back(std::move(entry));
    }
    for (std::size_t index = 0; index < snapshot->files.size(); ++index) {
        snapshot->byName.emplace(snapshot->files[index].name, index);
    }
    return snapshot;
}

const FileSnapshot::File* findFile(const Engine& engine, const char* name) {
    if (!engine.fileSnapshot) return nullptr;
    const auto found = engine.fileSnapshot->byName.find(name);
    return found == engine.fileSnapshot->byName.end() ? nullptr : &engine.fileSnapshot->files[found->second];
}

}  // namespace

std::int16_t XrGetOpenFilesData(std::int32_t h, std::uint32_t* count) {
    return answer(h, given(count), [&](Engine& engine) -> std::int16_t {
        engine.fileSnapshot.reset();
        engine.fileSnapshot = takeSnapshot(engine);
        *count = static_cast<std::uint32_t>(engine.fileSnapshot->files.size());
        return XR_OK;
    });
}

std::int16_t XrGetOpenFileName(std::int32_t h, std::uint32_t index, std::uint32_t* size, char* name) {
    return answer(h, given(size, name), [&](Engine& engine) -> std::int16_t {
        if (!engine.fileSnapshot || index >= engine.fileSnapshot->files.size()) return XR_NO_MORE_ITEMS;
        if (*size == 0) return XR_OK;
        const std::string_view cut = cutUtf8(engine.fileSnapshot->files[index].name, *size - 1);
        name[cut.copy(name, cut.size())] = '\0';
        *size = static_cast<std::uint32_t>(cut.size() + 1);
        return XR_OK;
    });
}

std::int16_t XrGetFileInfo2(std::int32_t h, const char* name, XRFILEINFO* info) {
    return answer(h, given(name, info), [&](Engine& engine) -> std::int16_t {
        const FileSnapshot::File* file = findFile(engine, name);
        if (!file) return XR_FILE_GONE;
        *info = file->info;
        return XR_OK;
    });
}

std::int16_t XrFreeOpenFilesData(std::int32_t h) {
    if (Engine* engine = findEngine(h)) engine->fileSnapshot.reset();
    return XR_OK;
}

std::int16_t XrGetFileHandlesData(std::int32_t h, const char* name, std::uint32_t* count) {
    return answer(h, given(name, count), [&](Engine& engine) -> std::int16_t {
        const FileSnapshot::File* file = findFile(engine, name);
        if (!file) return XR_FILE_GONE;
        *count = file->handles ? static_cast<std::uint32_t>(file->handles->size()) : 0;
        return XR_OK;
    });
}

std::int16_t XrGetFileHandleInfo(std::int32_t h, const char* name, std::uint32_t index, XRFILEHANDLEINFO* info) {
    return answer(h, given(name, info), [&](Engine& engine) -> std::int16_t {
        const FileSnapshot::File* file = findFile(engine, name);
        if (!file) return XR_FILE_GONE;
        if (!file->handles || index >= file->handles->size()) return XR_NO_MORE_ITEMS;
        const TableHandle& handle = engine.fileSnapshot->handles[(*file->handles)[index]];
        const FileSnapshot::Client& client = engine.fileSnapshot->clients[handle.session];
        *info = {};
        info->clientIndex = saturate(client.id);
        info->openMode = handle.openMode;
        info->recordLockType = handle.recordLockType;
        info->waitState = static_cast<std::uint8_t>(handle.waitState);
        info->transactionState = handle.transactionState;
        fill(info->clientName, client.name);
        return XR_OK;
    });
}
