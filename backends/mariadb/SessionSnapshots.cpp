// SPDX-License-Identifier: MIT
// Sessions of the transactional engine and the handles that they hold.
#include <algorithm>
#include <string_view>

#include "Activity.h"
#include "ClientText.h"
#include "Counters.h"
#include "Files.h"
#include "Queries.h"
#include "ServerText.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

void count(Counters& counters, std::string_view name, std::uint64_t value) {
    if (name == "Handler_delete") {
        counters.deleted = value;
    } else if (name == "Handler_update") {
        counters.updated = value;
    } else if (name == "Handler_write") {
        counters.inserted = value;
    } else if (name == "Rows_tmp_read") {
        counters.readFromTemporary = value;
    } else {
        counters.readRequests += value;
    }
}

// Whether every session is idle, and was so with the same last statement when the counters were read.
bool isUpToDate(const CounterReading& reading, const std::vector<Process>& processes) {
    return std::all_of(processes.begin(), processes.end(), [&](const Process& process) {
        const auto known = reading.statements.find(process.id);
        return process.command == "Sleep" && known != reading.statements.end() && known->second == process.statement;
    });
}

CounterReading readCounters(Engine& engine, const std::vector<Process>& processes, const Threads& threads) {
    CounterReading reading;
    for (const Process& process : processes)
        if (process.command == "Sleep") reading.statements.emplace(process.id, process.statement);
    const auto read = [&](const char* statement, const char* loss, auto take) {
        auto rows = engine.queryOptional(statement, loss);
        while (rows && rows->next()) {
            const auto session = threads.find(rows->number(0));
            if (session != threads.end()) take(reading.counters[session->second], *rows);
        }
    };
    read(queries::kCounters, "the record counters of sessions read 0",
         [](Counters& counters, const Result& row) { count(counters, row.text(1), row.number(2)); });
    read(queries::kFileAccesses, "the disk accesses of sessions read 0",
         [](Counters& counters, const Result& row) { counters.diskAccesses += row.number(1); });
    return reading;
}

// By session id. Empty where there are too many sessions to ask for all of them. These are by far the most expensive
// statements, so where nobody has run anything since, the counters of the last record are taken.
const std::unordered_map<std::uint64_t, Counters>& countersOf(Engine& engine, const std::vector<Process>& processes,
                                                              const Threads& threads) {
    std::unique_ptr<CounterReading>& reading = engine.counterReading;
    if (!engine.readsCounters(processes.size())) {
        reading = std::make_unique<CounterReading>();
    } else if (!reading || !isUpToDate(*reading, processes)) {
        reading = std::make_unique<CounterReading>(readCounters(engine, processes, threads));
    }
    return reading->counters;
}

XRKESDCLIENTINFO describe(const Process& process, const Counters& counters, const SessionState& state,
                          const std::string& address, std::uint64_t pid) {
    XRKESDCLIENTINFO info{};
    const ClientAddress listed = splitClientAddress(process.host);
    info.site = listed.unixSocket || isLoopback(splitClientAddress(address).host) || isLoopback(listed.host) ? 1 : 0;
    fill(info.sessionName, clientName(process, sizeof info.sessionName));
    info.recordsDeleted = saturate(counters.deleted);
    info.recordsUpdated = saturate(counters.updated);
    info.recordsInserted = saturate(counters.inserted);
    // Rows that a statement fetched from its own temporary tables were read by nobody else's standards.
    info.recordsRead = saturate(counters.readRequests - std::min(counters.readRequests, counters.readFromTemporary));
    info.diskAccesses = saturate(counters.diskAccesses);
    info.locksUsed = saturate(state.rowLocks);
    info.transactionState = state.transactionState;
    info.pid = saturate(pid);
    info.connectionNumber = saturate(process.id);
    fill(info.networkAddress, address);
    return info;
}

template <typename Value>
Value valueOr(const std::unordered_map<std::uint64_t, Value>& values, std::uint64_t key) {
    const auto found = values.find(key);
    return found == values.end() ? Value{} : found->second;
}

// What has no file is named as some client chose, and reports do not escape all backslashes.
std::string nameToShow(const LockedTable& table) {
    return table.hasFile() ? cleanFileName(table.file) : cleanText(table.file);
}

// Reports print n/a for the codes. Not for the open mode: an unknown one would make a JSON document invalid.
XRKESDCLIENTHANDLEINFO unknownHandle(const std::string& reason) {
    XRKESDCLIENTHANDLEINFO info{};
    info.recordLockType = kUnknownRecordLocks;
    info.waitState = kUnknownWaitState;
    info.transactionState = kUnknownTransaction;
    fill(info.fileName, "(handles unknown: " + reason + ")");
    return info;
}

}  // namespace

std::unique_ptr<SessionSnapshot> Engine::readSessions() {
    auto snapshot = std::make_unique<SessionSnapshot>();
    const std::vector<Process> processes = readProcesses(*this, /*withServerThreads=*/false);
    Transactions transactions = readTransactions(*this);
    const Threads threads = readThreads(*this);
    TableLocks locks = readTableLocks(*this, threads);
    Files files(*this);
    files.resolve(locks.tables);
    files.locate(transactions.conflicts, locks.tables);
    LockPicture picture = joinLocks(processes, transactions, locks);
    snapshot->handles = std::move(picture.handles);
    snapshot->files.reserve(locks.tables.size());
    for (const LockedTable& table : locks.tables)
        snapshot->files.push_back(nameToShow(table));
    if (!locks.missing.empty()) snapshot->standIn = unknownHandle(locks.missing);

    const auto attributes = readAttributes(*this);
    const auto& counters = countersOf(*this, processes, threads);
    const auto addresses = readAddresses(*this, threads);
    snapshot->sessions.reserve(processes.size());
    snapshot->byId.reserve(processes.size());
    for (const Process& process : processes) {
        const SessionState& state = picture.sessions[snapshot->sessions.size()];
        SessionSnapshot::Session& session = snapshot->add(process.id);
        session.info = describe(process, valueOr(counters, process.id), state, networkAddress(process, addresses),
                                valueOr(attributes, process.id).pid);
        session.firstHandle = state.firstHandle;
        session.handleCount = state.handleCount;
    }
    return snapshot;
}

}  // namespace xr::mariadb
