// SPDX-License-Identifier: MIT
#include "Activity.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include "Names.h"
#include "Queries.h"
#include "ServerText.h"
#include "Texts.h"

namespace xrmariadb {

namespace {

// A lock that is neither held nor awaited any more: its session gave up, and the row is about to go.
bool isGivenUp(std::string_view status) {
    return status == "VICTIM" || status == "TIMEOUT" || status == "KILLED";
}

// Collects locks and gives every table one entry.
class TableLockReader {
public:
    void add(const Result& row, std::uint64_t session) {
        std::string key = std::string(row.text(3)).append("/").append(row.text(4));
        const auto [entry, isNew] = m_tables.emplace(key, static_cast<std::uint32_t>(m_found.tables.size()));
        if (isNew) {
            const std::string shown = std::string(row.text(1)).append(".").append(row.text(2));
            m_found.tables.push_back({std::move(key), quotedName(row.text(1), row.text(2)), shown, false});
        }
        m_found.locks.push_back({session, entry->second, lockStrength(row.text(5)), row.text(6) == "PENDING"});
    }

    // Tables in the order of their names, so that equal states give equal reports.
    TableLocks take() {
        std::vector<std::uint32_t> order(m_found.tables.size());
        std::iota(order.begin(), order.end(), 0U);
        std::sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
            return m_found.tables[left].key < m_found.tables[right].key;
        });
        std::vector<std::uint32_t> rank(order.size());
        std::vector<LockedTable> tables;
        tables.reserve(order.size());
        for (const std::uint32_t table : order) {
            rank[table] = static_cast<std::uint32_t>(tables.size());
            tables.push_back(std::move(m_found.tables[table]));
        }
        for (TableLock& lock : m_found.locks)
            lock.table = rank[lock.table];
        m_found.tables = std::move(tables);
        return std::move(m_found);
    }

private:
    TableLocks m_found;
    std::unordered_map<std::string, std::uint32_t> m_tables;
};

}  // namespace

std::vector<Process> readProcesses(Engine& engine) {
    std::vector<Process> processes;
    Result rows = engine.connection().query(queries::ofClients(queries::kProcesses).c_str());
    const std::uint64_t own = engine.connection().id();
    while (rows.next()) {
        if (rows.number(0) == own) continue;
        Process process;
        process.id = rows.number(0);
        process.user = rows.text(1);
        process.host = rows.text(2);
        process.database = rows.text(3);
        process.command = rows.text(4);
        process.periodMs = rows.number(5);
        process.state = rows.text(6);
        processes.push_back(std::move(process));
    }
    std::sort(processes.begin(), processes.end(),
              [](const Process& left, const Process& right) { return left.id < right.id; });
    engine.rememberAges(processes);
    return processes;
}

Transactions readTransactions(Engine& engine) {
    Transactions transactions;
    Result rows = engine.queryOrEmpty(queries::kTransactions, "transactions and row locks are not shown");
    Result waits = engine.queryOrEmpty(queries::kWaits, "waits for rows are not shown");
    while (waits.next()) {
        SessionTransaction& session = transactions.sessions[waits.number(0)];
        session.awaitedTable = waits.text(1);
        session.awaitsRow = waits.text(2) == "RECORD";
    }
    while (rows.next()) {
        const std::uint64_t id = rows.number(0);
        const bool open = rows.number(3) == 0;
        if (open) ++transactions.open;
        if (id == 0) {
            // Prepared by a session that has left; nobody waits in it.
            transactions.rowLocks += rowLocks(rows.number(1), rows.number(2), false);
            continue;
        }
        SessionTransaction& session = transactions.sessions[id];
        session.rowsLocked = rows.number(1);
        session.rowsModified = rows.number(2);
        session.open = open;
        transactions.rowLocks += rowLocks(session.rowsLocked, session.rowsModified, session.awaitsRow);
    }
    return transactions;
}

Threads readThreads(Engine& engine) {
    Threads threads;
    if (!engine.hasPerformanceSchema()) return threads;
    auto rows = engine.queryOptional(queries::kThreads, "sessions show no counters, addresses of sockets and handles");
    while (rows && rows->next())
        threads.emplace(rows->number(0), rows->number(1));
    return threads;
}

TableLocks readTableLocks(Engine& engine, const Threads& threads) {
    TableLockReader reader;
    if (engine.hasLockInstrument()) {
        auto rows =
            engine.queryOptional(queries::kTableLocks, "the plug-in metadata_lock_info is tried for table locks");
        while (rows && rows->next()) {
            const auto session = threads.find(rows->number(0));
            if (session != threads.end() && !isGivenUp(rows->text(6))) reader.add(*rows, session->second);
        }
        if (rows) return reader.take();
    }
    auto rows = engine.queryOptional(
        queries::kTableLocksOfPlugin,
        "there are no handles, since neither performance_schema nor the plug-in metadata_lock_info shows "
        "table locks; HANDLES=no lists files and sessions all the same");
    while (rows && rows->next())
        reader.add(*rows, rows->number(0));
    return reader.take();
}

std::unordered_map<std::uint64_t, ClientAttributes> readAttributes(Engine& engine) {
    std::unordered_map<std::uint64_t, ClientAttributes> clients;
    if (!engine.hasPerformanceSchema()) return clients;
    auto rows = engine.queryOptional(queries::kAttributes, "sessions show no process ids and applications");
    while (rows && rows->next()) {
        ClientAttributes& client = clients[rows->number(0)];
        const std::string_view name = rows->text(1);
        if (name == "_pid") client.pid = rows->number(2);
        if (name == "program_name") client.program = rows->text(2);
        if (name == "_client_name") client.library = rows->text(2);
    }
    return clients;
}

std::unordered_map<std::uint64_t, std::string> readAddresses(Engine& engine, const Threads& threads) {
    std::unordered_map<std::uint64_t, std::string> addresses;
    if (!engine.hasPerformanceSchema()) return addresses;
    auto rows = engine.queryOptional(queries::kSockets, "addresses are the ones of the process list");
    while (rows && rows->next()) {
        const auto session = threads.find(rows->number(0));
        if (session == threads.end() || rows->text(1).empty()) continue;
        addresses.emplace(session->second, std::string(rows->text(1)).append(":").append(rows->text(2)));
    }
    return addresses;
}

std::string nameWithId(std::string_view name, std::uint64_t id, std::size_t size) {
    const std::string suffix = " #" + std::to_string(id);
    return std::string(cutUtf8(cleanText(name), size - 1 - suffix.size())) + suffix;
}

std::string clientName(const Process& process, std::size_t size) {
    return nameWithId(process.user + "@" + process.host, process.id, size);
}

std::string networkAddress(const Process& process, const std::unordered_map<std::uint64_t, std::string>& addresses) {
    if (splitClientAddress(process.host).unixSocket) return process.host;
    const auto socket = addresses.find(process.id);
    return cleanText(socket == addresses.end() ? process.host : socket->second);
}

}  // namespace xrmariadb
