// SPDX-License-Identifier: MIT
// Open files and the handles on them.
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>

#include "Activity.h"
#include "Files.h"
#include "Names.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

// Indexes of handles, by key of their table.
using HandlesByKey = std::map<std::string, FileSnapshot::HandleList>;

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
    info.readOnlyFlag = file.transactional && engine.isOn("innodb_read_only") ? 'Y' : 'N';
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
HandlesByKey sortByKey(const std::vector<Handle>& handles, const std::vector<LockedTable>& tables) {
    HandlesByKey sorted;
    std::map<std::string, std::string> wholeOf;
    for (std::uint32_t index = 0; index < handles.size(); ++index) {
        const LockedTable& table = tables[handles[index].object];
        sorted[table.key].push_back(index);
        if (table.whole >= 0) wholeOf.emplace(table.key, tables[static_cast<std::size_t>(table.whole)].key);
    }
    for (const auto& [partition, whole] : wholeOf) {
        FileSnapshot::HandleList& ofPartition = sorted[partition];
        std::set<std::uint32_t> named;
        for (const std::uint32_t index : ofPartition)
            named.insert(handles[index].session);
        for (const std::uint32_t index : sorted[whole])
            if (named.count(handles[index].session) == 0) ofPartition.push_back(index);
    }
    return sorted;
}

HandlesByKey readHandles(Engine& engine, Files& files, FileSnapshot& snapshot) {
    const std::vector<Process> processes = readProcesses(engine, /*withServerThreads=*/true);
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
    return sortByKey(snapshot.handles, locks.tables);
}

// The key of those handles that the file shows: its partition's, else its table's.
std::string keyOf(const HandlesByKey& handles, const OpenFile& file) {
    const std::string partition = partitionKey(file.path);
    return handles.count(partition) == 0 ? file.key : partition;
}

}  // namespace

std::unique_ptr<FileSnapshot> Engine::readFiles() {
    Files files(*this);
    files.readTablespaces();
    auto snapshot = std::make_unique<FileSnapshot>();
    std::map<std::string, std::shared_ptr<const FileSnapshot::HandleList>> lists;
    const HandlesByKey handles = readHandles(*this, files, *snapshot);
    for (const auto& [key, list] : handles)
        if (!key.empty()) lists.emplace(key, std::make_shared<const FileSnapshot::HandleList>(list));
    snapshot->files.reserve(files.open().size());
    for (const OpenFile& file : files.open()) {
        FileSnapshot::File& entry = snapshot->files.emplace_back();
        entry.name = cutUtf8(cleanFileName(file.path), XR_NAME_SIZE - 1);
        entry.info = describe(*this, files, file);
        const auto list = lists.find(keyOf(handles, file));
        if (list != lists.end()) entry.handles = list->second;
    }
    snapshot->finish();
    return snapshot;
}

}  // namespace xr::mariadb
