// SPDX-License-Identifier: MIT
// The codes of handles and sessions, derived from the server's table locks, row locks and transactions.
#ifndef VEXO_MARIADB_LOCKRULES_H
#define VEXO_MARIADB_LOCKRULES_H

#include <cstdint>
#include <string_view>

#include "Codes.h"

namespace xr::mariadb {

// The types of table (metadata) locks, weakest first.
enum class LockStrength {
    kShared,
    kSharedHighPriority,
    kSharedRead,
    kSharedReadOnly,
    kSharedUpgradable,
    kSharedWrite,
    kSharedNoWrite,
    kSharedNoReadWrite,
    kExclusive
};

constexpr std::uint16_t kUnknownTransaction = 0xFFFF;
constexpr std::uint8_t kUnknownWaitState = 0xFF;

// The strength of a lock type by its name, with or without the prefix "MDL_". Global locks of sessions that write count
// as such; a name of a later server version counts as the weakest.
LockStrength lockStrength(std::string_view name);

// Whether a granted lock of that strength shuts every other session out of the table.
bool shutsOthersOut(LockStrength strength);

// Whether the session may change rows under a lock of that strength.
bool allowsWriting(LockStrength strength);

// The open mode of a handle: exclusive, read-only or normal, for tables with and without transactions.
std::uint8_t openMode(LockStrength strength, bool transactional);

// Row locks that a session has: the engine counts the one that it waits for as well.
std::uint64_t rowLocks(std::uint64_t rowsLocked, bool waitsForRow);

// The status of a connection by its command: 0 idle, 1 active, 2 dying.
std::uint16_t connectionStatus(std::string_view command);

}  // namespace xr::mariadb

#endif
