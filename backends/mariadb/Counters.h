// SPDX-License-Identifier: MIT
// The counters of sessions, kept from one record to the next.
#ifndef VEXO_MARIADB_COUNTERS_H
#define VEXO_MARIADB_COUNTERS_H

#include <cstdint>
#include <unordered_map>

namespace xr::mariadb {

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

}  // namespace xr::mariadb

#endif
