// SPDX-License-Identifier: MIT
// Joins the server's locks and sessions into the handles that sessions hold on relations, and on whatever else somebody
// waits for.
#ifndef VEXO_POSTGRES_LOCKS_H
#define VEXO_POSTGRES_LOCKS_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "LockRules.h"
#include "Snapshots.h"

namespace xr::postgres {

// What a lock is on. Numbers that a type does not have are 0.
struct LockTag {
    LockType type = LockType::kRelation;
    std::uint32_t database = 0;  // 0 for what all databases share
    std::uint32_t relation = 0;
    std::uint32_t page = 0;
    std::uint32_t tuple = 0;
    std::uint32_t transaction = 0;
    std::uint32_t classId = 0;
    std::uint32_t objectId = 0;
    std::uint32_t objectSubId = 0;
    std::string virtualTransaction;
    std::string otherType;  // the name of a type that is unknown here
};
bool operator<(const LockTag& left, const LockTag& right);

// One row of pg_locks.
struct LockRow {
    LockTag tag;
    std::string owner;      // the virtual transaction that has or awaits it
    std::uint32_t pid = 0;  // 0 for a prepared transaction
    Strength strength = kNone;
    bool granted = false;
};

// One row of pg_stat_activity.
struct Process {
    std::uint32_t pid = 0;
    std::uint32_t leader = 0;  // of a parallel query, else itself
    std::string database;
    std::string user;
    std::string application;
    std::string address;  // "" over the Unix socket and for processes of the server
    std::string hostName;
    std::string port;
    std::string type;  // "client backend", "walsender", "autovacuum worker", ...
    std::string state;
    std::uint64_t stateMs = 0;  // since the state changed
    std::uint64_t ageMs = 0;    // since the process began
    bool inTransaction = false;

    // Whether the server keeps track of what it does (track_activities).
    bool isTracked() const { return state != "disabled"; }
    bool isClient() const { return type == "client backend"; }
    bool isActive() const { return state == "active" || state == "fastpath function call"; }
};

// Types of processes of the server.
constexpr const char* kCheckpointer = "checkpointer";
constexpr const char* kStartup = "startup";

// Whether there is a process of a type.
bool hasProcess(const std::vector<Process>& processes, std::string_view type);

// One row of pg_prepared_xacts.
struct PreparedTransaction {
    std::uint32_t transaction = 0;
    std::string gid;
    std::string owner;
    std::string database;
};

struct Relation {
    std::string schema;
    std::string name;
    char kind = '\0';         // as pg_class has it
    std::uint64_t pages = 0;  // as of the last VACUUM or ANALYZE
};

// By database (0 for shared catalogs) and number.
using Relations = std::map<std::pair<std::uint32_t, std::uint32_t>, Relation>;

// What the lists are made of, in one reading.
struct Activity {
    std::vector<LockRow> locks;
    std::vector<PreparedTransaction> prepared;
    std::vector<Process> processes;
    Relations relations;
};

struct LockSession {
    const Process* process = nullptr;               // either this
    const PreparedTransaction* prepared = nullptr;  // or that
    bool inTransaction = false;
    std::uint64_t locksUsed = 0;
    std::uint16_t transactionState = kNoTransaction;
    std::uint32_t firstHandle = 0;  // its handles follow each other
    std::uint32_t handleCount = 0;
};

struct LockPicture {
    // Clients and walsenders, then other processes that have a handle, then prepared transactions that have one.
    std::vector<LockSession> sessions;
    std::vector<LockTag> objects;  // relations and what else is awaited
    std::vector<Handle> handles;   // ordered by session, then object
};

// Leaves out the process `ownPid`, and locks of processes that are not in the activity any more. The picture points into
// the activity.
LockPicture joinLocks(const Activity& activity, std::uint32_t ownPid);

}  // namespace xr::postgres

#endif
