// SPDX-License-Identifier: MIT
// The snapshot behind the calls on the clients of the transactional engine.
#ifndef VEXO_MARIADB_SESSIONCALLS_H
#define VEXO_MARIADB_SESSIONCALLS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Engine.h"
#include "Locks.h"

namespace xrmariadb {

// Work of a session since it began.
struct Counters {
    std::uint64_t deleted = 0;
    std::uint64_t updated = 0;
    std::uint64_t inserted = 0;
    std::uint64_t readRequests = 0;
    std::uint64_t readFromTemporary = 0;
    std::uint64_t diskAccesses = 0;
};

// The counters as last read, by session id, and the last statements of the sessions that were idle then.
struct CounterReading {
    std::unordered_map<std::uint64_t, Counters> counters;
    std::unordered_map<std::uint64_t, std::uint64_t> statements;
};

struct SessionSnapshot {
    std::vector<XRKESDCLIENTINFO> clients;
    std::vector<std::uint64_t> ids;
    std::unordered_map<std::uint64_t, std::size_t> byId;
    LockPicture locks;               // its sessions in the order of the clients
    std::vector<std::string> files;  // by table
    std::string handlesUnknown;      // what stands for the handles of a session that has none, "" if it really has none
};

}  // namespace xrmariadb

#endif
