// SPDX-License-Identifier: MIT
// Round places on the axes of charts.
#ifndef VEXO_REPORT_TIMEAXIS_H
#define VEXO_REPORT_TIMEAXIS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vexo {

// A place on the axis of time.
struct TimeTick {
    std::int64_t epochMs = 0;
    std::string time;  // such as "14:00", or "11-21" where a tick is a day or more
    std::string date;  // with days the year alone; empty where it is that of the tick before
    std::string zone;  // the same
};

// Round local times within [startMs, endMs], at most `most` of them. Where the clocks change, the ticks are round before
// and behind it.
std::vector<TimeTick> timeTicks(std::int64_t startMs, std::int64_t endMs, std::size_t most);
// The same as instants alone, every `stepMs` of local time. Steps are those of the ticks: see stepForTicks().
std::vector<std::int64_t> roundTimes(std::int64_t startMs, std::int64_t endMs, std::int64_t stepMs);
// The least round step that takes at most `most` ticks, and is a multiple of `divisorMs`.
std::int64_t stepForTicks(std::int64_t lengthMs, std::size_t most, std::int64_t divisorMs);

// What the steps of values are.
enum class TickSteps {
    kDecimal,  // 1, 2 or 5 of a power of ten
    kWhole,    // the same from 1 on
    kBinary,   // powers of two, from 1 on
};
// Round values from 0 up to the first one that is not below `greatest`.
std::vector<double> valueTicks(double greatest, TickSteps steps);

}  // namespace vexo

#endif
