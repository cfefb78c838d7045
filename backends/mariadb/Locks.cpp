// SPDX-License-Identifier: MIT
#include "Locks.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <tuple>

namespace xr::mariadb {

namespace {

// A session's locks on one table, put together.
struct HeldTable {
    std::uint32_t session = 0;
    std::uint32_t table = 0;
    std::optional<LockStrength> granted;
    std::optional<LockStrength> asked;
    std::uint64_t rows = 0;  // locked ones that the engine names
    WaitState wait = WaitState::kNone;
};

using Held = std::vector<HeldTable>::const_iterator;

void merge(HeldTable& into, const HeldTable& other) {
    into.granted = std::max(into.granted, other.granted);
    into.asked = std::max(into.asked, other.asked);
    into.rows += other.rows;
    if (into.wait == WaitState::kNone) into.wait = other.wait;
}

class Joiner {
public:
    Joiner(const std::vector<Process>& processes, const Transactions& transactions, const TableLocks& tableLocks)
        : m_processes(processes), m_transactions(transactions), m_tables(tableLocks.tables) {
        m_indexOf.reserve(processes.size());
        for (const Process& process : processes)
            m_indexOf.emplace(process.id, static_cast<std::uint32_t>(m_indexOf.size()));
        addTableLocks(tableLocks.locks);
        const std::size_t tableLockCount = m_held.size();
        for (const ConflictLock& conflict : transactions.conflicts)
            addConflict(conflict, tableLockCount);
        mergeHeld();
    }

    LockPicture join() {
        m_picture.sessions.reserve(m_processes.size());
        m_picture.handles.reserve(m_held.size());
        Held next = m_held.begin();
        for (const Process& process : m_processes) {
            const Held first = next;
            while (next != m_held.end() && next->session == m_picture.sessions.size())
                ++next;
            addSession(process, first, next);
        }
        return std::move(m_picture);
    }

private:
    // By table, whether its lock that a change of the definition may raise has been raised: the server goes on naming
    // it as it was asked for. Only one session at a time has such a lock of a table. Where readers wait and nobody is
    // known to have or want the table for itself, that session has it.
    std::vector<bool> tablesWithRaisedLock(const std::vector<TableLock>& locks) const {
        std::vector<bool> raised(m_tables.size());
        for (const TableLock& lock : locks)
            if (lock.pending && lock.strength <= LockStrength::kSharedRead) raised[lock.table] = true;
        for (const TableLock& lock : locks)
            if (shutsOthersOut(lock.strength)) raised[lock.table] = false;
        return raised;
    }

    void addTableLocks(const std::vector<TableLock>& locks) {
        m_held.reserve(locks.size());
        const std::vector<bool> raised = tablesWithRaisedLock(locks);
        for (const TableLock& lock : locks) {
            const auto session = m_indexOf.find(lock.session);
            if (session == m_indexOf.end()) continue;
            HeldTable& held = m_held.emplace_back();
            held.session = session->second;
            held.table = lock.table;
            (lock.pending ? held.asked : held.granted) = lock.strength;
            if (lock.pending) held.wait = WaitState::kFile;
            if (raised[lock.table] && held.granted == LockStrength::kSharedUpgradable)
                held.granted = LockStrength::kExclusive;
        }
    }

    void addConflict(const ConflictLock& conflict, std::size_t tableLockCount) {
        HeldTable held;
        held.table = conflict.table;
        const LockStrength strength = conflict.writes ? LockStrength::kSharedWrite : LockStrength::kSharedRead;
        (conflict.awaited ? held.asked : held.granted) = strength;
        if (conflict.awaited) held.wait = conflict.rows ? WaitState::kRecord : WaitState::kFile;
        if (!conflict.awaited && conflict.rows) held.rows = 1;
        std::optional<std::uint32_t> session;
        if (conflict.session != 0) {
            const auto known = m_indexOf.find(conflict.session);
            if (known != m_indexOf.end()) session = known->second;
        } else if (conflict.transaction == 0) {
            session = onlyReaderWithLocks(conflict.table, tableLockCount);
        } else {
            addDetached(conflict.transaction, held);
        }
        if (!session) return;
        held.session = *session;
        m_held.push_back(held);
    }

    // A transaction that has changed nothing has no number, so the engine does not tell whose its lock is. If only one
    // of them has the table in use and holds row locks at all, it is that one.
    std::optional<std::uint32_t> onlyReaderWithLocks(std::uint32_t table, std::size_t tableLockCount) const {
        const std::int64_t whole = m_tables[table].whole;
        std::optional<std::uint32_t> found;
        for (std::size_t index = 0; index < tableLockCount; ++index) {
            const HeldTable& held = m_held[index];
            if (!held.granted || (held.table != table && held.table != whole)) continue;
            const SessionTransaction& transaction = transactionOf(m_processes[held.session]);
            if (transaction.changes || rowLocks(transaction.rowsLocked, transaction.awaitsRow) == 0) continue;
            if (found && *found != held.session) return std::nullopt;
            found = held.session;
        }
        return found;
    }

    // A table lock in conflict does not tell whether there are row locks, too.
    void addDetached(std::uint64_t transaction, const HeldTable& held) {
        auto& detached = m_picture.detached;
        for (auto& [number, handle] : detached) {
            if (number != transaction || handle.object != held.table) continue;
            if (held.rows != 0)
                handle.recordLockType = recordLockType(handle.recordLockType == kUnknownRecordLocks ? 1 : 2);
            return;
        }
        detached.push_back({
            transaction,
            {0, held.table, openMode(*held.granted, true),
              held.rows == 0 ? kUnknownRecordLocks : recordLockType(held.rows), WaitState::kNone,
              transactionState(false, true)}
        });
    }

    void mergeHeld() {
        std::stable_sort(m_held.begin(), m_held.end(), [](const HeldTable& left, const HeldTable& right) {
            return std::tie(left.session, left.table) < std::tie(right.session, right.table);
        });
        std::vector<HeldTable> merged;
        merged.reserve(m_held.size());
        for (const HeldTable& held : m_held) {
            if (merged.empty() || merged.back().session != held.session || merged.back().table != held.table) {
                merged.push_back(held);
            } else {
                merge(merged.back(), held);
            }
        }
        m_held = std::move(merged);
    }

    const SessionTransaction& transactionOf(const Process& process) const {
        static const SessionTransaction s_none;
        const auto found = m_transactions.sessions.find(process.id);
        return found == m_transactions.sessions.end() ? s_none : found->second;
    }

    const LockedTable& tableOf(const HeldTable& held) const { return m_tables[held.table]; }

    // Whether the session has the table for itself.
    bool shuts(const HeldTable& held) const {
        return tableOf(held).isTable && held.granted && shutsOthersOut(*held.granted);
    }

    bool mayHoldRows(const HeldTable& held) const {
        const bool used = held.granted && *held.granted > LockStrength::kSharedHighPriority;
        return tableOf(held).transactional && tableOf(held).isTable && (used || held.wait == WaitState::kRecord);
    }

    // The tables that the row locks of a session may be on, in the order of the handles. The engine names them only for
    // locks in conflict. Of the others it gives the number, counting a table twice that is locked for reading and for
    // writing, and those that foreign keys led to, which the session need not have in use.
    std::vector<const HeldTable*> tablesWithRows(Held first, Held last, const SessionTransaction& transaction) const {
        std::vector<const HeldTable*> named;
        std::vector<const HeldTable*> written;
        std::vector<const HeldTable*> used;
        for (Held one = first; one != last; ++one) {
            if (!mayHoldRows(*one)) continue;
            used.push_back(&*one);
            if (one->rows != 0 || one->wait == WaitState::kRecord) named.push_back(&*one);
            if (transaction.changes && one->granted && allowsWriting(*one->granted)) written.push_back(&*one);
        }
        if (transaction.tablesLocked == 1 && !named.empty()) return named;
        const bool allWritten =
            std::includes(written.begin(), written.end(), named.begin(), named.end(), std::less<>());
        return allWritten && transaction.tablesLocked == written.size() ? written : used;
    }

    std::uint8_t recordLocks(const HeldTable& held, std::uint64_t unnamed, std::uint64_t tablesLocked,
                             const std::vector<const HeldTable*>& suspects) const {
        const bool suspect = std::binary_search(suspects.begin(), suspects.end(), &held, std::less<>());
        if (unnamed == 0 || !suspect) return recordLockType(held.rows);
        const bool certain = suspects.size() == 1 && tablesLocked == 1 && !tableOf(held).partitioned;
        if (certain) return recordLockType(held.rows + unnamed);
        return held.rows == 0 ? kUnknownRecordLocks : recordLockType(held.rows);
    }

    WaitState waitState(const HeldTable& held, const Process& process) const {
        if (held.wait != WaitState::kNone || !tableOf(held).isTable) return held.wait;
        const bool writes = held.granted && allowsWriting(*held.granted);
        const bool waits = (writes && process.state == "Waiting for backup lock") ||
                           (!tableOf(held).transactional && process.state == "Waiting for table level lock");
        return waits ? WaitState::kFile : WaitState::kNone;
    }

    // What the session has; of what it only asks for, nobody is shut out yet.
    std::uint8_t modeOf(const HeldTable& held) const {
        const LockStrength asked = std::min(held.asked.value_or(LockStrength::kShared), LockStrength::kSharedNoWrite);
        return openMode(held.granted.value_or(asked), !tableOf(held).ofAnotherEngine());
    }

    // The session's tables, by index, of which it has partitions beside the whole.
    std::unordered_map<std::int64_t, HeldTable> tablesWithPartitions(Held first, Held last) const {
        std::unordered_map<std::int64_t, HeldTable> divided;
        for (Held one = first; one != last; ++one)
            if (tableOf(*one).whole >= 0) divided[tableOf(*one).whole];
        if (divided.empty()) return divided;
        for (Held one = first; one != last; ++one) {
            const auto found = divided.find(one->table);
            if (found != divided.end()) found->second = *one;
        }
        return divided;
    }

    void addSession(const Process& process, Held first, Held last) {
        const SessionTransaction& transaction = transactionOf(process);
        SessionState session;
        session.rowLocks = rowLocks(transaction.rowsLocked, transaction.awaitsRow);
        const bool shut = std::any_of(first, last, [&](const HeldTable& one) { return shuts(one); });
        session.transactionState = transactionState(shut, transaction.open);
        session.firstHandle = static_cast<std::uint32_t>(m_picture.handles.size());

        std::uint64_t named = 0;
        for (Held one = first; one != last; ++one)
            named += one->rows;
        const std::uint64_t unnamed = session.rowLocks - std::min(session.rowLocks, named);
        const std::vector<const HeldTable*> suspects = tablesWithRows(first, last, transaction);
        const std::unordered_map<std::int64_t, HeldTable> divided = tablesWithPartitions(first, last);
        for (Held one = first; one != last; ++one) {
            HeldTable held = *one;
            const auto whole = divided.find(tableOf(held).whole);
            if (whole != divided.end()) held.granted = std::max(held.granted, whole->second.granted);
            const Handle handle = {held.session,
                                   held.table,
                                   modeOf(held),
                                   recordLocks(*one, unnamed, transaction.tablesLocked, suspects),
                                   waitState(held, process),
                                   transactionState(shuts(held), transaction.open)};
            (divided.count(held.table) == 0 ? m_picture.handles : m_picture.wholeTables).push_back(handle);
        }
        session.handleCount = static_cast<std::uint32_t>(m_picture.handles.size()) - session.firstHandle;
        m_picture.sessions.push_back(session);
    }

    const std::vector<Process>& m_processes;
    const Transactions& m_transactions;
    const std::vector<LockedTable>& m_tables;
    std::unordered_map<std::uint64_t, std::uint32_t> m_indexOf;  // session id to process
    std::vector<HeldTable> m_held;
    LockPicture m_picture;
};

}  // namespace

LockPicture joinLocks(const std::vector<Process>& processes, const Transactions& transactions,
                      const TableLocks& tableLocks) {
    return Joiner(processes, transactions, tableLocks).join();
}

}  // namespace xr::mariadb
