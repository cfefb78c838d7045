// SPDX-License-Identifier: MIT
#include "report/TimeAxis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

#include "record/PointInTime.h"
#include "report/TimeUnits.h"

namespace vexo {
namespace {

constexpr std::array<std::int64_t, 24> kSteps = {
    100,         kSecond,     2 * kSecond,  5 * kSecond,  10 * kSecond, 15 * kSecond, 30 * kSecond, kMinute,
    2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute, kHour,        2 * kHour,    3 * kHour,
    4 * kHour,   6 * kHour,   12 * kHour,   kDay,         2 * kDay,     7 * kDay,     28 * kDay,    364 * kDay};

std::int64_t restOf(std::int64_t value, std::int64_t divisor) {
    const std::int64_t rest = value % divisor;
    return rest < 0 ? rest + divisor : rest;
}

// How far the local time at an instant is beyond the last round one. Weeks begin on Mondays.
std::int64_t beyondRound(std::int64_t epochMs, std::int64_t stepMs) {
    const auto seconds = static_cast<std::time_t>((epochMs - restOf(epochMs, kSecond)) / kSecond);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    constexpr std::int64_t kFirstMonday = 4 * kDay;  // 1970 began on a Thursday
    return restOf(epochMs + local.tm_gmtoff * kSecond - kFirstMonday, stepMs);
}

}  // namespace

std::int64_t stepForTicks(std::int64_t lengthMs, std::size_t most, std::int64_t divisorMs) {
    const auto* const found = std::find_if(kSteps.begin(), kSteps.end(), [=](std::int64_t step) {
        return step % divisorMs == 0 && lengthMs / step < static_cast<std::int64_t>(most);
    });
    return found != kSteps.end() ? *found : std::max(kSteps.back(), divisorMs);
}

std::vector<std::int64_t> roundTimes(std::int64_t startMs, std::int64_t endMs, std::int64_t stepMs) {
    std::vector<std::int64_t> times;
    std::int64_t at = startMs - beyondRound(startMs, stepMs);
    while (at <= endMs) {
        if (at >= startMs) times.push_back(at);
        // Where the clocks were changed meanwhile, the next round time is not a step away.
        const std::int64_t next = at + stepMs;
        const std::int64_t beyond = beyondRound(next, stepMs);
        const bool isBehind = next - beyond > at && beyondRound(next - beyond, stepMs) == 0;
        at = isBehind ? next - beyond : next + stepMs - beyond;
    }
    return times;
}

std::vector<TimeTick> timeTicks(std::int64_t startMs, std::int64_t endMs, std::size_t most) {
    const std::int64_t step = stepForTicks(endMs - startMs, most, 1);
    // Places in "2026-11-21 14:03:20 +01:00".
    constexpr std::size_t kYear = 4;
    constexpr std::size_t kDate = 10;
    constexpr std::size_t kMinutes = 5;
    constexpr std::size_t kSeconds = 8;
    const bool isDays = step >= kDay;
    std::vector<TimeTick> ticks;
    std::string lastDate;
    std::string lastZone;
    for (const std::int64_t at : roundTimes(startMs, endMs, step)) {
        const std::string local = localTime(at);
        TimeTick& tick = ticks.emplace_back();
        tick.epochMs = at;
        tick.time = isDays ? local.substr(kYear + 1, kDate - kYear - 1)
                           : local.substr(kDate + 1, step < kMinute ? kSeconds : kMinutes);
        const std::string date = local.substr(0, isDays ? kYear : kDate);
        const std::string zone = local.substr(local.rfind(' ') + 1);
        if (date != lastDate) tick.date = date;
        if (zone != lastZone) tick.zone = zone;
        lastDate = date;
        lastZone = zone;
    }
    return ticks;
}

std::vector<double> valueTicks(double greatest, TickSteps steps) {
    constexpr double kTicks = 4;
    const bool isBinary = steps == TickSteps::kBinary;
    const double least = steps == TickSteps::kDecimal ? 0.001 : 1;
    const double raw = std::max(greatest / kTicks, least);
    double step = std::pow(isBinary ? 2.0 : 10.0, std::floor(isBinary ? std::log2(raw) : std::log10(raw)));
    const std::array<double, 4> factors = {1, 2, 5, 10};
    const double* const last = factors.data() + (isBinary ? 1 : factors.size() - 1);
    step *= *std::find_if(factors.data(), last, [&](double factor) { return step * factor >= raw; });
    std::vector<double> ticks = {0};
    while (ticks.back() < greatest || ticks.size() < 2)
        ticks.push_back(step * static_cast<double>(ticks.size()));
    return ticks;
}

}  // namespace vexo
