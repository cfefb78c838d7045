// SPDX-License-Identifier: MIT
#include "Locks.h"

#include <algorithm>
#include <tuple>

#include "Names.h"

namespace xrmariadb {

namespace {

// A session's locks on one table, put together.
struct HeldTable {
    std::uint32_t session = 0;
    std::uint32_t table = 0;
    LockStrength strength = LockStrength::kShared;
    bool pending = false;
    bool shut = false;  // holds, and not only awaits, the table for itself
};

std::vector<HeldTable> heldTables(const std::vector<Process>& processes, const std::vector<TableLock>& locks) {
    std::unordered_map<std::uint64_t, std::uint32_t> indexOf;
    indexOf.reserve(processes.size());
    for (const Process& process : processes)
        indexOf.emplace(process.id, static_cast<std::uint32_t>(indexOf.size()));

    std::vector<HeldTable> single;
    single.reserve(locks.size());
    for (const TableLock& lock : locks) {
        const auto session = indexOf.find(lock.session);
        if (session == indexOf.end()) continue;
        single.push_back(
            {session->second, lock.table, lock.strength, lock.pending, !lock.pending && shutsOthersOut(lock.strength)});
    }
    std::sort(single.begin(), single.end(), [](const HeldTable& left, const HeldTable& right) {
        return std::tie(left.session, left.table) < std::tie(right.session, right.table);
    });

    std::vector<HeldTable> merged;
    for (const HeldTable& held : single) {
        if (merged.empty() || merged.back().session != held.session || merged.back().table != held.table) {
            merged.push_back(held);
            continue;
        }
        HeldTable& last = merged.back();
        last.strength = std::max(last.strength, held.strength);
        last.pending |= held.pending;
        last.shut |= held.shut;
    }
    return merged;
}

WaitState waitState(const HeldTable& held, const LockedTable& table, const Process& process,
                    const SessionTransaction& transaction) {
    if (!transaction.awaitedTable.empty() && namesTable(transaction.awaitedTable, table.quoted)) {
        return transaction.awaitsRow ? WaitState::kRecord : WaitState::kFile;
    }
    const bool waitsInEngine = !table.transactional && process.state == "Waiting for table level lock";
    return held.pending || waitsInEngine ? WaitState::kFile : WaitState::kNone;
}

}  // namespace

LockPicture joinLocks(const std::vector<Process>& processes, const Transactions& transactions,
                      const TableLocks& tableLocks) {
    const std::vector<HeldTable> held = heldTables(processes, tableLocks.locks);
    const SessionTransaction none;
    LockPicture picture;
    picture.sessions.reserve(processes.size());
    picture.handles.reserve(held.size());
    auto next = held.begin();
    for (const Process& process : processes) {
        const auto found = transactions.sessions.find(process.id);
        const SessionTransaction& transaction = found == transactions.sessions.end() ? none : found->second;
        const auto first = next;
        const std::size_t index = picture.sessions.size();
        while (next != held.end() && next->session == index)
            ++next;

        SessionState session;
        session.rowLocks = rowLocks(transaction.rowsLocked, transaction.rowsModified, transaction.awaitsRow);
        const bool shut = std::any_of(first, next, [](const HeldTable& one) { return one.shut; });
        session.transactionState = transactionState(shut, transaction.open);
        session.firstHandle = static_cast<std::uint32_t>(picture.handles.size());
        session.handleCount = static_cast<std::uint32_t>(next - first);

        // The engine does not say on which tables the row locks lie. Where a session may change rows is the best guess,
        // and where it only reads, it reads with locks.
        const bool writes = std::any_of(first, next, [&](const HeldTable& one) {
            return tableLocks.tables[one.table].transactional && allowsWriting(one.strength);
        });
        for (auto one = first; one != next; ++one) {
            const LockedTable& table = tableLocks.tables[one->table];
            const bool mayLockRows = table.transactional && (allowsWriting(one->strength) || !writes);
            picture.handles.push_back({one->session, one->table, openMode(one->strength, table.transactional),
                                       recordLockType(mayLockRows ? session.rowLocks : 0),
                                       waitState(*one, table, process, transaction), session.transactionState});
        }
        picture.sessions.push_back(session);
    }
    return picture;
}

}  // namespace xrmariadb
