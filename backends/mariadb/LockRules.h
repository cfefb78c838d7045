// SPDX-License-Identifier: MIT
// The codes of handles and sessions, derived from the server's table locks, row locks and transactions.
#ifndef VEXO_MARIADB_LOCKRULES_H
#define VEXO_MARIADB_LOCKRULES_H

#include <cstdint>
#include <string_view>

namespace xrmariadb {

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

enum class WaitState : std::uint8_t { kNone = 0, kRecord = 1, kFile = 2 };

constexpr std::uint16_t kNoTransaction = 0;
constexpr std::uint16_t kExclusiveLock = 19;
constexpr std::uint16_t kConcurrentLock = 1019;
constexpr std::uint16_t kUnknownTransaction = 0xFFFF;
constexpr std::uint8_t kUnknownWaitState = 0xFF;

// 'N', 'S' or 'M' of the interface: none, a single or multiple row locks. Of what the server does not tell, reports
// say n/a.
constexpr std::uint8_t kNoRecordLock = 'N';
constexpr std::uint8_t kUnknownRecordLocks = '?';

// The strength of a lock type by its name, with or without the prefix "MDL_". Global locks of sessions that write count
// as such; a name of a later server version counts as the weakest.
LockStrength lockStrength(std::string_view name);

// Whether a granted lock of that strength shuts every other session out of the table.
bool shutsOthersOut(LockStrength strength);

// Whether the session may change rows under a lock of that strength.
bool allowsWriting(LockStrength strength);

// The open mode of a handle: exclusive, read-only or normal, for tables with and without transactions.
std::uint8_t openMode(LockStrength strength, bool transactional);

// Whether an open mode is one of the two read-only ones.
bool isReadOnly(std::uint8_t mode);

// Row locks that a session has: the engine counts the one that it waits for as well.
std::uint64_t rowLocks(std::uint64_t rowsLocked, bool waitsForRow);

std::uint8_t recordLockType(std::uint64_t locks);

// The state of a session's transaction. Locking a whole table outweighs an open transaction.
std::uint16_t transactionState(bool locksTable, bool openTransaction);

// The status of a connection by its command: 0 idle, 1 active, 2 dying.
std::uint16_t connectionStatus(std::string_view command);

}  // namespace xrmariadb

#endif
