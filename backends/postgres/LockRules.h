// SPDX-License-Identifier: MIT
// What the server's lock modes mean for the handles of the interface.
#ifndef VEXO_POSTGRES_LOCKRULES_H
#define VEXO_POSTGRES_LOCKRULES_H

#include <cstdint>
#include <string_view>

#include "Codes.h"

namespace xr::postgres {

// The strengths of locks, weakest first, as the server numbers them; 0 is none.
enum Strength : std::uint8_t {
    kNone = 0,
    kAccessShare = 1,
    kRowShare = 2,
    kRowExclusive = 3,
    kShareUpdateExclusive = 4,
    kShare = 5,
    kShareRowExclusive = 6,
    kExclusiveMode = 7,
    kAccessExclusive = 8
};

// The strength of a mode by its name in pg_locks, kNone for an unknown one.
Strength strength(std::string_view mode);

// The kinds of locks.
enum class LockType : std::uint8_t {
    kRelation,
    kExtend,
    kFrozenId,
    kPage,
    kTuple,
    kTransaction,
    kVirtualTransaction,
    kSpeculative,
    kObject,
    kUser,
    kAdvisory,
    kOther
};

// The kind by its name in pg_locks.
LockType lockType(std::string_view name);

// The open mode of a handle by the strongest lock that is held or asked for.
std::uint8_t openMode(Strength strongest);

// Whether whoever locks or changes rows of a relation holds this lock on it.
bool goesWithRows(Strength strength);

// Whether relations of a kind, as pg_class has it, have rows to lock. 0 is an unknown kind, of which it has to be assumed.
bool hasRows(char kind);

// The same, or are tables whose partitions have.
bool mayLeadToRows(char kind);

}  // namespace xr::postgres

#endif
