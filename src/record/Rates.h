// SPDX-License-Identifier: MIT
// What happened between two records, per second.
#ifndef VEXO_RECORD_RATES_H
#define VEXO_RECORD_RATES_H

#include <cstdint>
#include <optional>

#include "record/Record.h"

namespace vexo {

// Per second; none where it is not known.
using Rate = std::optional<double>;

// Seconds between the readings of a section in two records, by the monotonic clock. None when either record lacks the
// section, when they belong to different runs or servers, when the engine restarted in between, or when no time passed.
std::optional<double> secondsBetween(const Record& before, const Record& now, Section section);

// Whether the engine started anew between the two: its uptime fell.
bool restartedBetween(const Record& before, const Record& now);

// A counter's growth; none when it fell or the time is not known.
Rate rateOf(std::uint64_t before, std::uint64_t now, std::optional<double> seconds);

struct SessionRates {
    Rate recordsRead;
    Rate recordsInserted;
    Rate recordsUpdated;
    Rate recordsDeleted;
    Rate diskAccesses;
    Rate cacheAccesses;
    // Cache accesses of all accesses, 0 to 1; none without any.
    std::optional<double> cacheShare;
};
// Of a session that is in both records; see matchSessions().
SessionRates sessionRates(const SessionItem& before, const SessionItem& now, std::optional<double> seconds);

// Growth of a file in bytes a second, negative when it shrank.
Rate growthOf(const FileItem& before, const FileItem& now, std::optional<double> seconds);

struct CommunicationRates {
    Rate requests;
    Rate connectionTimeouts;
    Rate connectionRecoveries;
};
CommunicationRates communicationRates(const Record& before, const Record& now);

}  // namespace vexo

#endif
