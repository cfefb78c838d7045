// SPDX-License-Identifier: MIT
// Codes of the interface that the libraries of several servers derive.
#ifndef VEXO_COMMON_CODES_H
#define VEXO_COMMON_CODES_H

#include <cstdint>

namespace xr {

enum class WaitState : std::uint8_t { kNone = 0, kRecord = 1, kFile = 2 };

constexpr std::uint16_t kNoTransaction = 0;
constexpr std::uint16_t kExclusiveLock = 19;
constexpr std::uint16_t kConcurrentLock = 1019;

// 'N', 'S' or 'M' of the interface: none, a single or multiple row locks. Of what the server does not tell, reports
// say n/a.
constexpr std::uint8_t kNoRecordLock = 'N';
constexpr std::uint8_t kUnknownRecordLocks = '?';

constexpr std::uint8_t kNormal = 0;
constexpr std::uint8_t kReadOnly = 254;
constexpr std::uint8_t kExclusive = 252;
constexpr std::uint8_t kReadOnlyNonTransactional = 246;

constexpr std::uint32_t kTcp = 4;

// Sessions and data are what such a server limits, users it does not.
constexpr std::uint32_t kLimitsSessions = 6;

// Whether an open mode is one of the two read-only ones.
constexpr bool isReadOnly(std::uint8_t mode) {
    return mode == kReadOnly || mode == kReadOnlyNonTransactional;
}

constexpr std::uint8_t recordLockType(std::uint64_t locks) {
    return locks == 0 ? kNoRecordLock : locks == 1 ? 'S' : 'M';
}

// The state of a session's transaction. Locking a whole table outweighs an open transaction.
constexpr std::uint16_t transactionState(bool locksTable, bool openTransaction) {
    return locksTable ? kExclusiveLock : openTransaction ? kConcurrentLock : kNoTransaction;
}

}  // namespace xr

#endif
