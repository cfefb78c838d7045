// SPDX-License-Identifier: MIT
// Joins sessions, transactions and table locks into the handles that sessions hold on tables.
#ifndef VEXO_MARIADB_LOCKS_H
#define VEXO_MARIADB_LOCKS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "LockRules.h"

namespace xrmariadb {

// One row of the process list.
struct Process {
    std::uint64_t id = 0;
    std::string user;
    std::string host;  // "localhost" over the Unix socket, else with port
    std::string database;
    std::string command;
    std::string state;
    std::uint64_t periodMs = 0;  // since the command began
};

// What the transaction engine says about one session.
struct SessionTransaction {
    std::uint64_t rowsLocked = 0;
    std::uint64_t rowsModified = 0;
    bool open = false;         // false: a statement that reads without locks
    std::string awaitedTable;  // quoted name, empty: waits for nothing
    bool awaitsRow = false;    // else for the table itself
};

struct Transactions {
    std::unordered_map<std::uint64_t, SessionTransaction> sessions;  // by session id
    // Totals, which also count prepared transactions that no session owns any more.
    std::uint64_t open = 0;
    std::uint64_t rowLocks = 0;
};

// A table that somebody holds or awaits a lock on.
struct LockedTable {
    std::string key;             // of its files, see tableKey
    std::string quoted;          // `schema`.`table`
    std::string file;            // the file that stands for it, or schema.table if it has none
    bool transactional = false;  // kept by the transaction engine
};

struct TableLock {
    std::uint64_t session = 0;
    std::uint32_t table = 0;  // index into the tables
    LockStrength strength = LockStrength::kShared;
    bool pending = false;
};

struct TableLocks {
    std::vector<LockedTable> tables;
    std::vector<TableLock> locks;
};

// All locks of one session on one table.
struct TableHandle {
    std::uint32_t session = 0;  // index into the processes
    std::uint32_t table = 0;
    std::uint8_t openMode = 0;
    std::uint8_t recordLockType = 'N';
    WaitState waitState = WaitState::kNone;
    std::uint16_t transactionState = kNoTransaction;
};

struct SessionState {
    std::uint64_t rowLocks = 0;
    std::uint16_t transactionState = kNoTransaction;
    std::uint32_t firstHandle = 0;  // its handles follow each other
    std::uint32_t handleCount = 0;
};

struct LockPicture {
    std::vector<SessionState> sessions;  // one for each process, in their order
    std::vector<TableHandle> handles;    // ordered by session, then table
};

// Locks of sessions that are not among the processes are left out: they came or went between two statements.
LockPicture joinLocks(const std::vector<Process>& processes, const Transactions& transactions,
                      const TableLocks& tableLocks);

}  // namespace xrmariadb

#endif
