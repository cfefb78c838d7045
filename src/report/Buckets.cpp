// SPDX-License-Identifier: MIT
#include "report/Buckets.h"

#include <algorithm>
#include <array>

#include "report/TimeUnits.h"

namespace vexo {
namespace {

constexpr std::array<std::int64_t, 22> kSteps = {
    100,        200,         500,         kSecond,      2 * kSecond,  5 * kSecond, 10 * kSecond, 30 * kSecond,
    kMinute,    3 * kMinute, 5 * kMinute, 15 * kMinute, 30 * kMinute, kHour,       3 * kHour,    6 * kHour,
    12 * kHour, kDay,        2 * kDay,    8 * kDay,     32 * kDay,    128 * kDay};

// Rounded down, below 1970 too.
std::int64_t multipleBelow(std::int64_t value, std::int64_t step) {
    const std::int64_t rest = value % step;
    return value - rest - (rest < 0 ? step : 0);
}

}  // namespace

void Statistics::add(std::int64_t epochMs, double value) {
    add({1, value, value, value, epochMs});
}

void Statistics::add(const Statistics& other) {
    if (other.count == 0) return;
    if (count == 0 || other.greatest > greatest) {
        greatest = other.greatest;
        greatestAtMs = other.greatestAtMs;
    }
    least = count == 0 ? other.least : std::min(least, other.least);
    sum += other.sum;
    count += other.count;
}

std::int64_t stepAtLeast(std::int64_t milliseconds) {
    const auto* const found = std::lower_bound(kSteps.begin(), kSteps.end(), milliseconds);
    return found != kSteps.end() ? *found : multipleBelow(milliseconds, kSteps.back()) + kSteps.back();
}

Buckets::Buckets(std::int64_t firstMs, std::int64_t lastMs, std::int64_t stepMs)
    : m_stepMs(stepMs),
      m_startMs(multipleBelow(firstMs, stepMs)),
      m_buckets(static_cast<std::size_t>((std::max(lastMs, firstMs) - m_startMs) / stepMs) + 1) {
}

void Buckets::add(std::int64_t epochMs, double value) {
    if (epochMs < m_startMs || epochMs >= endMs()) return;
    m_buckets[static_cast<std::size_t>((epochMs - m_startMs) / m_stepMs)].add(epochMs, value);
}

Buckets Buckets::coarser() const {
    std::int64_t step = stepAtLeast(2 * m_stepMs);
    while (step % m_stepMs != 0)
        step = stepAtLeast(step + 1);
    Buckets result(m_startMs, endMs() - 1, step);
    for (std::size_t place = 0; place < m_buckets.size(); ++place) {
        const std::int64_t at = m_startMs + m_stepMs * static_cast<std::int64_t>(place);
        result.m_buckets[static_cast<std::size_t>((at - result.m_startMs) / step)].add(m_buckets[place]);
    }
    return result;
}

}  // namespace vexo
