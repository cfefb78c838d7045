// SPDX-License-Identifier: MIT
#include "Activity.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "ClientText.h"
#include "Names.h"
#include "Queries.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

const char* whyNoTableLocks(const Engine& engine) {
    if (!engine.hasPerformanceSchema()) return "performance_schema is off";
    return engine.hasLockInstrument() ? "performance_schema does not show them" : "the metadata lock instrument is off";
}

// A lock that is neither held nor awaited any more: its session gave up, and the row is about to go.
bool isGivenUp(std::string_view status) {
    return status == "VICTIM" || status == "TIMEOUT" || status == "KILLED";
}

// "USER LEVEL LOCK" and "job" give "user level lock job".
std::string nameOfObject(std::string_view type, std::string_view schema, std::string_view name) {
    std::string shown(type);
    std::transform(shown.begin(), shown.end(), shown.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (shown.find("lock") == std::string::npos) shown += " lock";
    if (!schema.empty()) shown.append(" ").append(schema);
    if (!name.empty()) shown.append(schema.empty() ? " " : ".").append(name);
    return shown;
}

// Collects locks and gives every table one entry, and every other object that somebody waits for.
class TableLockReader {
public:
    void add(const Result& row, std::uint64_t session) {
        const bool isTable = row.text(7) == "TABLE";
        const bool pending = row.text(6) == "PENDING";
        const std::string shown = isTable ? std::string(row.text(1)).append(".").append(row.text(2))
                                          : nameOfObject(row.text(7), row.text(1), row.text(2));
        // The key of an object has a blank, which is encoded in that of a table.
        const std::string key = isTable ? std::string(row.text(3)).append("/").append(row.text(4)) : shown;
        const auto [entry, isNew] = m_tables.emplace(key, static_cast<std::uint32_t>(m_found.tables.size()));
        if (isNew) {
            LockedTable& table = m_found.tables.emplace_back();
            table.key = key;
            if (isTable) table.quoted = quotedName(row.text(1), row.text(2));
            table.file = shown;
            table.isTable = isTable;
            m_shown.push_back(isTable);
        }
        // Every statement locks its schema and the server against certain changes. That is worth showing only where
        // somebody asked for the lock as such, or waits for it.
        if (pending || row.text(8) == "EXPLICIT") m_shown[entry->second] = true;
        m_found.locks.push_back({session, entry->second, lockStrength(row.text(5)), pending});
    }

    // Tables in the order of their names, so that equal states give equal reports.
    TableLocks take() {
        std::vector<std::uint32_t> order;
        for (std::uint32_t table = 0; table < m_shown.size(); ++table)
            if (m_shown[table]) order.push_back(table);
        std::sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
            return m_found.tables[left].key < m_found.tables[right].key;
        });
        std::vector<std::uint32_t> rank(m_shown.size());
        TableLocks taken;
        taken.tables.reserve(order.size());
        for (const std::uint32_t table : order) {
            rank[table] = static_cast<std::uint32_t>(taken.tables.size());
            taken.tables.push_back(std::move(m_found.tables[table]));
        }
        taken.locks.reserve(m_found.locks.size());
        for (TableLock& lock : m_found.locks) {
            if (!m_shown[lock.table]) continue;
            lock.table = rank[lock.table];
            taken.locks.push_back(lock);
        }
        return taken;
    }

private:
    TableLocks m_found;
    std::vector<bool> m_shown;  // by table
    std::unordered_map<std::string, std::uint32_t> m_tables;
};

// Finds out whose the locks in conflict are.
class ConflictReader {
public:
    explicit ConflictReader(Result rows) {
        while (rows.next()) {
            ConflictLock lock;
            lock.transaction = rows.number(1);
            const std::string_view mode = rows.text(2);
            lock.writes = mode.substr(0, 1) == "X" || mode == "IX" || mode == "AUTO_INC";
            lock.rows = rows.text(3) == "RECORD";
            lock.tableName = rows.text(4);
            lock.tablespace = rows.number(5);
            m_locks.emplace(rows.text(0), std::move(lock));
        }
    }

    // Tells of a transaction and the lock that it waits for, if any. Whether that is one of a row.
    bool addOwner(std::uint64_t transaction, std::uint64_t session, std::string_view awaitedLock) {
        if (transaction != 0) m_sessionOf.emplace(transaction, session);
        const auto awaited = m_locks.find(std::string(awaitedLock));
        if (awaited == m_locks.end()) return false;
        ConflictLock lock = awaited->second;
        lock.session = session;
        lock.awaited = true;
        m_found.push_back(lock);
        m_awaited.insert(awaited->first);
        return lock.rows;
    }

    std::vector<ConflictLock> take() {
        std::set<std::string> granted;
        for (const auto& [id, lock] : m_locks)
            if (m_awaited.count(id) == 0) granted.insert(placeOf(id));
        for (auto& [id, lock] : m_locks) {
            // All transactions without a number that have or want a lock in one place share its id. Somebody has one
            // where others wait.
            const bool alsoGranted = lock.transaction == 0 && granted.count(placeOf(id)) == 0;
            if (m_awaited.count(id) != 0 && !alsoGranted) continue;
            const auto owner = m_sessionOf.find(lock.transaction);
            // Gone since, unless it never had a number.
            if (owner == m_sessionOf.end() && lock.transaction != 0) continue;
            if (owner != m_sessionOf.end()) lock.session = owner->second;
            m_found.push_back(std::move(lock));
        }
        return std::move(m_found);
    }

private:
    // The row or table that a lock is on: what follows the transaction's number in its id.
    static std::string placeOf(const std::string& id) { return id.substr(std::min(id.find(':'), id.size())); }

    std::map<std::string, ConflictLock> m_locks;  // by the engine's id of the lock
    std::set<std::string> m_awaited;
    std::unordered_map<std::uint64_t, std::uint64_t> m_sessionOf;  // by number of the transaction
    std::vector<ConflictLock> m_found;
};

// The locks that performance_schema records; nothing when it records none at all.
std::optional<TableLocks> readRecordedLocks(Engine& engine, const Threads& threads) {
    auto rows = engine.queryOptional(queries::kTableLocks, "the plug-in metadata_lock_info is tried for table locks");
    if (!rows) return std::nullopt;
    TableLockReader reader;
    bool recorded = false;
    while (rows->next()) {
        recorded = true;
        const auto session = threads.find(rows->number(0));
        if (session != threads.end() && !isGivenUp(rows->text(6))) reader.add(*rows, session->second);
    }
    if (recorded) return reader.take();
    // The statement locks the table that it reads.
    engine.log().notice(
        "performance_schema records no table locks, not even the monitor's own: its consumer global_instrumentation or "
        "the instrument wait/lock/metadata/sql/mdl is off by now");
    return std::nullopt;
}

}  // namespace

std::vector<Process> readProcesses(Engine& engine, bool withServerThreads) {
    std::vector<Process> processes;
    Result rows = engine.connection().query(queries::processes().c_str());
    const std::uint64_t own = engine.connection().id();
    while (rows.next()) {
        const bool client = rows.number(8) != 0;
        if (rows.number(0) == own || !(client || withServerThreads)) continue;
        Process process;
        process.client = client;
        process.id = rows.number(0);
        process.user = rows.text(1);
        process.host = rows.text(2);
        process.database = rows.text(3);
        process.command = rows.text(4);
        process.periodMs = rows.number(5);
        process.state = rows.text(6);
        process.statement = rows.number(7);
        processes.push_back(std::move(process));
    }
    std::sort(processes.begin(), processes.end(),
              [](const Process& left, const Process& right) { return left.id < right.id; });
    engine.rememberAges(processes);
    return processes;
}

Transactions readTransactions(Engine& engine) {
    Transactions transactions;
    // Both from one state: the server renews its cache of them only when nobody has read it for a while.
    Result rows = engine.queryOrEmpty(queries::kTransactions, "transactions and row locks are not shown");
    ConflictReader conflicts(engine.queryOrEmpty(queries::kConflicts, "waits for rows are not shown"));
    while (rows.next()) {
        const std::uint64_t id = rows.number(0);
        const bool open = rows.number(3) == 0;
        if (open) ++transactions.open;
        const bool awaitsRow = conflicts.addOwner(rows.number(4), id, rows.text(5));
        transactions.rowLocks += rowLocks(rows.number(1), awaitsRow);
        // Prepared by a session that has left.
        if (id == 0) continue;
        transactions.sessions[id] = {rows.number(1), rows.number(2), open, rows.number(4) != 0, awaitsRow};
    }
    transactions.conflicts = conflicts.take();
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
    // Without the threads nobody knows whose the locks are.
    if (engine.hasLockInstrument() && !threads.empty()) {
        if (auto recorded = readRecordedLocks(engine, threads)) return std::move(*recorded);
    }
    auto rows = engine.queryOptional(
        queries::kTableLocksOfPlugin,
        "the only handles are those of transactions in conflict, since neither performance_schema nor the plug-in "
        "metadata_lock_info shows table locks. Sessions without one are listed with a handle that says so, files "
        "without one by HANDLES=no");
    TableLockReader reader;
    while (rows && rows->next())
        reader.add(*rows, rows->number(0));
    TableLocks locks = reader.take();
    if (!rows) locks.missing = whyNoTableLocks(engine);
    return locks;
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
    return nameWithId(process.client ? process.user + "@" + process.host : "server thread", process.id, size);
}

std::string networkAddress(const Process& process, const std::unordered_map<std::uint64_t, std::string>& addresses) {
    if (splitClientAddress(process.host).unixSocket) return process.host;
    const auto socket = addresses.find(process.id);
    return cleanText(socket == addresses.end() ? process.host : socket->second);
}

}  // namespace xr::mariadb
