// SPDX-License-Identifier: MIT
#include "LockRules.h"

#include <algorithm>
#include <array>

namespace xr::postgres {

namespace {

constexpr std::uint8_t kNormalShared = 240;
constexpr std::uint8_t kReadOnlyShared = 238;

// In the order of Strength, from 1.
constexpr std::array<std::string_view, 8> kModes = {
    "AccessShareLock", "RowShareLock",          "RowExclusiveLock", "ShareUpdateExclusiveLock",
    "ShareLock",       "ShareRowExclusiveLock", "ExclusiveLock",    "AccessExclusiveLock"};

// In the order of LockType.
constexpr std::array<std::string_view, 11> kTypes = {"relation", "extend",        "frozenid",   "page",
                                                     "tuple",    "transactionid", "virtualxid", "spectoken",
                                                     "object",   "userlock",      "advisory"};

}  // namespace

Strength strength(std::string_view mode) {
    const auto* found = std::find(kModes.begin(), kModes.end(), mode);
    return found == kModes.end() ? kNone : static_cast<Strength>(found - kModes.begin() + 1);
}

LockType lockType(std::string_view name) {
    return static_cast<LockType>(std::find(kTypes.begin(), kTypes.end(), name) - kTypes.begin());
}

std::uint8_t openMode(Strength strongest) {
    switch (strongest) {
        case kAccessShare:
            return kReadOnly;
        case kShareUpdateExclusive:
            return kNormalShared;
        case kShare:
        case kShareRowExclusive:
            return kReadOnlyShared;
        case kExclusiveMode:
        case kAccessExclusive:
            return kExclusive;
        default:
            return kNormal;
    }
}

bool goesWithRows(Strength strength) {
    return strength == kRowShare || strength == kRowExclusive;
}

bool hasRows(char kind) {
    return kind == 'r' || kind == 'm' || kind == 't' || kind == '\0';
}

bool mayLeadToRows(char kind) {
    return hasRows(kind) || kind == 'p';
}

}  // namespace xr::postgres
