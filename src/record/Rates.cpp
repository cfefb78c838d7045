// SPDX-License-Identifier: MIT
#include "record/Rates.h"

namespace vexo {
namespace {

constexpr double kMicrosPerSecond = 1e6;

double readAt(const Record& record, Section section) {
    return static_cast<double>(record.monotonicUs) + static_cast<double>(record.section(section).startedUs);
}

}  // namespace

bool restartedBetween(const Record& before, const Record& now) {
    return before.usage && now.usage && now.usage->uptimeSeconds < before.usage->uptimeSeconds;
}

std::optional<double> secondsBetween(const Record& before, const Record& now, Section section) {
    if (!before.has(section) || !now.has(section) || restartedBetween(before, now)) return std::nullopt;
    if (before.run != now.run || before.name(before.server) != now.name(now.server)) return std::nullopt;
    const double seconds = (readAt(now, section) - readAt(before, section)) / kMicrosPerSecond;
    return seconds > 0 ? std::optional(seconds) : std::nullopt;
}

Rate rateOf(std::uint64_t before, std::uint64_t now, std::optional<double> seconds) {
    if (!seconds || now < before) return std::nullopt;
    return static_cast<double>(now - before) / *seconds;
}

SessionRates sessionRates(const SessionItem& before, const SessionItem& now, std::optional<double> seconds) {
    SessionRates rates;
    rates.recordsRead = rateOf(before.recordsRead, now.recordsRead, seconds);
    rates.recordsInserted = rateOf(before.recordsInserted, now.recordsInserted, seconds);
    rates.recordsUpdated = rateOf(before.recordsUpdated, now.recordsUpdated, seconds);
    rates.recordsDeleted = rateOf(before.recordsDeleted, now.recordsDeleted, seconds);
    rates.diskAccesses = rateOf(before.diskAccesses, now.diskAccesses, seconds);
    rates.cacheAccesses = rateOf(before.cacheAccesses, now.cacheAccesses, seconds);
    if (rates.diskAccesses && rates.cacheAccesses && *rates.diskAccesses + *rates.cacheAccesses > 0) {
        rates.cacheShare = *rates.cacheAccesses / (*rates.diskAccesses + *rates.cacheAccesses);
    }
    return rates;
}

Rate growthOf(const FileItem& before, const FileItem& now, std::optional<double> seconds) {
    if (!seconds) return std::nullopt;
    return (static_cast<double>(now.sizeBytes) - static_cast<double>(before.sizeBytes)) / *seconds;
}

CommunicationRates communicationRates(const Record& before, const Record& now) {
    const auto seconds = secondsBetween(before, now, Section::kCommunications);
    if (!seconds) return {};
    const Communication& old = *before.communication;
    const Communication& current = *now.communication;
    return {rateOf(old.requests, current.requests, seconds),
            rateOf(old.connectionTimeouts, current.connectionTimeouts, seconds),
            rateOf(old.connectionRecoveries, current.connectionRecoveries, seconds)};
}

}  // namespace vexo
