// SPDX-License-Identifier: MIT
// Which item of a record is which of an earlier one.
#ifndef VEXO_RECORD_IDENTITY_H
#define VEXO_RECORD_IDENTITY_H

#include <cstdint>
#include <vector>

#include "record/Record.h"

namespace vexo {

// For each item of `now`, the place of the same one in `before`, or kNew. Among items that have all of their identity in
// common the first is matched with the first, and so on.
using Matches = std::vector<std::uint32_t>;
inline constexpr std::uint32_t kNew = UINT32_MAX;

// Files are the same by their name.
Matches matchFiles(const Record& before, const Record& now);
// Sessions by the engine's identifier of their client, and their name: identifiers are given out again.
Matches matchSessions(const Record& before, const Record& now);
// Connections by user, host, address, application and data source.
Matches matchConnections(const Record& before, const Record& now);
// Handles of files by file, client index, client name and open mode.
Matches matchFileHandles(const Record& before, const Record& now);
// Handles of sessions by session, file and open mode.
Matches matchSessionHandles(const Record& before, const Record& now);
// Waits by file, client index, client name and what is waited for.
Matches matchWaits(const Record& before, const Record& now);

}  // namespace vexo

#endif
