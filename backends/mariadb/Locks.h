// SPDX-License-Identifier: MIT
// Joins sessions, transactions and locks into the handles that sessions hold on tables.
#ifndef VEXO_MARIADB_LOCKS_H
#define VEXO_MARIADB_LOCKS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "LockRules.h"
#include "Snapshots.h"

namespace xr::mariadb {

// One row of the process list.
struct Process {
    std::uint64_t id = 0;
    std::string user;
    std::string host;  // "localhost" over the Unix socket, else with port
    std::string database;
    std::string command;
    std::string state;
    std::uint64_t periodMs = 0;   // since the command began
    std::uint64_t statement = 0;  // the number of its current or last one, unique on the server
    bool client = true;           // false: a thread of the server's own, such as an event or replication
};

// What the transaction engine says about one session.
struct SessionTransaction {
    std::uint64_t rowsLocked = 0;    // the one that it waits for included
    std::uint64_t tablesLocked = 0;  // tables and partitions that the rows are in, or more than that
    bool open = false;               // false: a statement that reads without locks
    bool changes = false;            // has a number of its own, which it gets with its first lock to write
    bool awaitsRow = false;
};

// A lock that stands between transactions: one waits for it, or it keeps others waiting.
struct ConflictLock {
    std::uint64_t transaction = 0;  // 0 where the engine gives no number: the transaction has changed nothing
    std::uint64_t session = 0;      // 0: none (a prepared transaction), or unknown where the number is 0
    std::string tableName;          // `schema`.`table`, perhaps with a partition as a comment behind it
    std::uint64_t tablespace = 0;
    bool rows = false;  // of a row, else of the whole table
    bool writes = false;
    bool awaited = false;
    std::uint32_t table = 0;  // index into the tables
};

struct Transactions {
    std::unordered_map<std::uint64_t, SessionTransaction> sessions;  // by session id
    std::vector<ConflictLock> conflicts;
    // Totals, which also count prepared transactions that no session owns any more.
    std::uint64_t open = 0;
    std::uint64_t rowLocks = 0;
};

// A table that somebody holds or awaits a lock on, a partition of one, or another thing that sessions lock.
struct LockedTable {
    std::string key;             // of its files, see tableKey and partitionKey
    std::string quoted;          // `schema`.`table`
    std::string file;            // the file that stands for it, or its name if it has none
    bool transactional = false;  // kept by the transaction engine
    bool partitioned = false;    // has several files, and its row locks may be in any of them
    bool isTable = true;         // false: the server itself, a schema, a user-level lock
    std::int64_t whole = -1;     // of a partition: the index of its table, -1 if nobody has locked that

    bool hasFile() const { return file.substr(0, 1) == "/"; }

    // Whether an engine without transactions keeps it for sure: of what has no file, such as a view, the engine is
    // unknown.
    bool ofAnotherEngine() const { return isTable && !transactional && hasFile(); }
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
    std::string missing;  // why the server tells of none, "" if it tells
};

struct SessionState {
    std::uint64_t rowLocks = 0;
    std::uint16_t transactionState = kNoTransaction;
    std::uint32_t firstHandle = 0;  // its handles follow each other
    std::uint32_t handleCount = 0;
};

struct LockPicture {
    std::vector<SessionState> sessions;  // one for each process, in their order
    std::vector<Handle> handles;         // ordered by session, then table
    // Handles on whole tables where those above name partitions: the other partitions' files show these.
    std::vector<Handle> wholeTables;
    // Locks that keep others waiting and belong to a transaction without a session, by its number.
    std::vector<std::pair<std::uint64_t, Handle>> detached;
};

// Locks of sessions that are not among the processes are left out: they came or went between two statements.
LockPicture joinLocks(const std::vector<Process>& processes, const Transactions& transactions,
                      const TableLocks& tableLocks);

}  // namespace xr::mariadb

#endif
