// SPDX-License-Identifier: MIT
// Sessions of the transactional engine and the handles that they hold.
#include "SessionCalls.h"

#include <algorithm>
#include <string_view>

#include "Activity.h"
#include "Files.h"
#include "Handles.h"
#include "Queries.h"
#include "ServerText.h"
#include "Texts.h"

using namespace xrmariadb;

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

std::unique_ptr<SessionSnapshot> takeSnapshot(Engine& engine) {
    auto snapshot = std::make_unique<SessionSnapshot>();
    const std::vector<Process> processes = readProcesses(engine);
    Transactions transactions = readTransactions(engine);
    const Threads threads = readThreads(engine);
    TableLocks locks = readTableLocks(engine, threads);
    Files files(engine);
    files.resolve(locks.tables);
    files.locate(transactions.conflicts, locks.tables);
    snapshot->locks = joinLocks(processes, transactions, locks);
    snapshot->files.reserve(locks.tables.size());
    for (const LockedTable& table : locks.tables)
        snapshot->files.push_back(cleanFileName(table.file));
    if (!locks.missing.empty()) snapshot->handlesUnknown = "(handles unknown: " + locks.missing + ")";

    const auto attributes = readAttributes(engine);
    const auto& counters = countersOf(engine, processes, threads);
    const auto addresses = readAddresses(engine, threads);
    snapshot->clients.reserve(processes.size());
    snapshot->ids.reserve(processes.size());
    snapshot->byId.reserve(processes.size());
    for (const Process& process : processes) {
        const std::size_t index = snapshot->clients.size();
        snapshot->clients.push_back(describe(process, valueOr(counters, process.id), snapshot->locks.sessions[index],
                                             networkAddress(process, addresses), valueOr(attributes, process.id).pid));
        snapshot->ids.push_back(process.id);
        snapshot->byId.emplace(process.id, index);
    }
    return snapshot;
}

// Reports print n/a for the codes. Not for the open mode: an unknown one would make a JSON document invalid.
XRKESDCLIENTHANDLEINFO unknownHandle(const std::string& reason) {
    XRKESDCLIENTHANDLEINFO info{};
    info.recordLockType = kUnknownRecordLocks;
    info.waitState = kUnknownWaitState;
    info.transactionState = kUnknownTransaction;
    fill(info.fileName, reason);
    return info;
}

// Nothing if the client is not in the snapshot.
std::optional<std::size_t> findClient(const Engine& engine, const XRCLIENTID* client) {
    if (!engine.sessionSnapshot) return std::nullopt;
    const std::string_view text(client->text, strnlen(client->text, sizeof client->text));
    const auto found = engine.sessionSnapshot->byId.find(toNumber(text));
    if (found == engine.sessionSnapshot->byId.end()) return std::nullopt;
    return found->second;
}

}  // namespace

std::int16_t XrGetKesdClientsData(std::int32_t h, std::uint32_t* count) {
    return answer(h, given(count), [&](Engine& engine) -> std::int16_t {
        engine.sessionSnapshot.reset();
        engine.sessionSnapshot = takeSnapshot(engine);
        *count = static_cast<std::uint32_t>(engine.sessionSnapshot->clients.size());
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientId(std::int32_t h, std::uint32_t index, XRCLIENTID* client) {
    return answer(h, given(client), [&](Engine& engine) -> std::int16_t {
        if (!engine.sessionSnapshot || index >= engine.sessionSnapshot->ids.size()) return XR_NO_MORE_ITEMS;
        const std::uint64_t id = engine.sessionSnapshot->ids[index];
        *client = {};
        fill(client->text, std::to_string(id));
        client->idWord = static_cast<std::uint16_t>(id >> 16U);
        client->taskNumber = static_cast<std::uint16_t>(id);
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientInfo(std::int32_t h, const XRCLIENTID* client, XRKESDCLIENTINFO* info) {
    return answer(h, given(client, info), [&](Engine& engine) -> std::int16_t {
        const std::optional<std::size_t> index = findClient(engine, client);
        if (!index) return XR_CLIENT_GONE;
        *info = engine.sessionSnapshot->clients[*index];
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientHandlesData(std::int32_t h, const XRCLIENTID* client, std::uint32_t* count) {
    return answer(h, given(client, count), [&](Engine& engine) -> std::int16_t {
        const std::optional<std::size_t> index = findClient(engine, client);
        if (!index) return XR_CLIENT_GONE;
        *count = engine.sessionSnapshot->locks.sessions[*index].handleCount;
        if (*count == 0 && !engine.sessionSnapshot->handlesUnknown.empty()) *count = 1;
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientHandleInfo(std::int32_t h, const XRCLIENTID* client, std::uint32_t index,
                                       XRKESDCLIENTHANDLEINFO* info) {
    return answer(h, given(client, info), [&](Engine& engine) -> std::int16_t {
        const std::optional<std::size_t> found = findClient(engine, client);
        if (!found) return XR_CLIENT_GONE;
        const SessionState& session = engine.sessionSnapshot->locks.sessions[*found];
        if (index == 0 && session.handleCount == 0 && !engine.sessionSnapshot->handlesUnknown.empty()) {
            *info = unknownHandle(engine.sessionSnapshot->handlesUnknown);
            return XR_OK;
        }
        if (index >= session.handleCount) return XR_NO_MORE_ITEMS;
        const TableHandle& handle = engine.sessionSnapshot->locks.handles[session.firstHandle + index];
        *info = {};
        info->openMode = handle.openMode;
        info->recordLockType = handle.recordLockType;
        info->waitState = static_cast<std::uint8_t>(handle.waitState);
        info->transactionState = handle.transactionState;
        fill(info->fileName, engine.sessionSnapshot->files[handle.table]);
        return XR_OK;
    });
}

std::int16_t XrFreeKesdClientsData(std::int32_t h) {
    if (Engine* engine = findEngine(h)) engine->sessionSnapshot.reset();
    return XR_OK;
}
