// SPDX-License-Identifier: MIT
// Who waits for what on which file, and who may hold it.
#ifndef VEXO_RECORD_WAITS_H
#define VEXO_RECORD_WAITS_H

#include <cstdint>
#include <vector>

#include "record/Record.h"

namespace vexo {

// Fills in the waits of a record that has its handles and its times: one for each handle that waits. A wait that
// `before`, the last record with the files section, shows as well goes on from there, unless the engine restarted in
// between. `before` may be null.
void addWaits(Record& now, const Record* before);

// What of a handle makes it hold what others wait for, the likeliest first.
enum class Holding : std::uint8_t { kExclusive, kLocks, kTransaction, kNone };
// kNone for a handle that waits itself.
Holding holdingOf(const HandleState& state);

// The handles of the wait's file that may hold what it waits for: others' handles that do not wait and that lock, have a
// transaction or an exclusive mode. Places in record.fileHandles; exclusive ones first, then locks, then transactions.
// The engine names no holder, so these are candidates.
std::vector<std::uint32_t> mayHold(const Record& record, const WaitItem& wait);

}  // namespace vexo

#endif
