// SPDX-License-Identifier: MIT
#include "LockRules.h"

#include <algorithm>
#include <array>

namespace xr::mariadb {

namespace {

constexpr std::uint8_t kNormalNonTransactional = 248;
constexpr std::uint8_t kExclusiveNonTransactional = 244;

// In the order of LockStrength.
constexpr std::array<std::string_view, 9> kLockNames = {"SHARED",           "SHARED_HIGH_PRIO",     "SHARED_READ",
                                                        "SHARED_READ_ONLY", "SHARED_UPGRADABLE",    "SHARED_WRITE",
                                                        "SHARED_NO_WRITE",  "SHARED_NO_READ_WRITE", "EXCLUSIVE"};

// Of sessions that change data or definitions, which BACKUP STAGE and FLUSH TABLES WITH READ LOCK hold up.
constexpr std::array<std::string_view, 7> kGlobalWriterLocks = {
    "BACKUP_DML",        "BACKUP_TRANS_DML", "BACKUP_SYS_DML",     "BACKUP_DDL",
    "BACKUP_ALTER_COPY", "BACKUP_COMMIT",    "INTENTION_EXCLUSIVE"};

}  // namespace

LockStrength lockStrength(std::string_view name) {
    constexpr std::string_view kPrefix = "MDL_";
    if (name.substr(0, kPrefix.size()) == kPrefix) name.remove_prefix(kPrefix.size());
    const auto* found = std::find(kLockNames.begin(), kLockNames.end(), name);
    if (found != kLockNames.end()) return static_cast<LockStrength>(found - kLockNames.begin());
    const bool writes =
        std::find(kGlobalWriterLocks.begin(), kGlobalWriterLocks.end(), name) != kGlobalWriterLocks.end();
    return writes ? LockStrength::kSharedWrite : LockStrength::kShared;
}

bool shutsOthersOut(LockStrength strength) {
    return strength >= LockStrength::kSharedNoReadWrite;
}

bool allowsWriting(LockStrength strength) {
    return strength >= LockStrength::kSharedUpgradable;
}

std::uint8_t openMode(LockStrength strength, bool transactional) {
    if (shutsOthersOut(strength)) return transactional ? kExclusive : kExclusiveNonTransactional;
    if (!allowsWriting(strength)) return transactional ? kReadOnly : kReadOnlyNonTransactional;
    return transactional ? kNormal : kNormalNonTransactional;
}

std::uint64_t rowLocks(std::uint64_t rowsLocked, bool waitsForRow) {
    return rowsLocked > 0 && waitsForRow ? rowsLocked - 1 : rowsLocked;
}

std::uint16_t connectionStatus(std::string_view command) {
    return command == "Sleep" ? 0 : command == "Killed" ? 2 : 1;
}

}  // namespace xr::mariadb
