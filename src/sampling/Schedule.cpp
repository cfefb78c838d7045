// SPDX-License-Identifier: MIT
#include "sampling/Schedule.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace vexo {
namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;
constexpr std::int64_t kLeastJumpMs = 1000;
constexpr std::int64_t kLeastQuietMs = 60'000;
constexpr std::int64_t kMostQuietMs = 3'600'000;

}  // namespace

std::uint64_t Schedule::advance(std::int64_t nowUs) {
    if (nowUs < m_nextUs) return 0;
    const std::int64_t missed = (nowUs - m_nextUs) / m_intervalUs;
    m_nextUs += (missed + 1) * m_intervalUs;
    return static_cast<std::uint64_t>(missed);
}

void Schedule::restart(std::int64_t startUs, std::int64_t intervalUs) {
    m_nextUs = startUs;
    m_intervalUs = intervalUs;
}

std::int64_t BackOff::next() {
    const std::int64_t pause = m_pauseUs;
    m_pauseUs = std::min(2 * m_pauseUs, kLongestUs);
    return pause - std::uniform_int_distribution<std::int64_t>(0, pause / 4)(m_random);
}

// Small differences are the clock being steered; they are taken over so that they never add up to a jump.
std::int64_t ClockWatch::jump(std::int64_t epochMs, std::int64_t monotonicUs) {
    const std::int64_t distanceMs = epochMs - monotonicUs / kMicrosPerMilli;
    const std::int64_t change = distanceMs - std::exchange(m_distanceMs, distanceMs);
    const bool known = std::exchange(m_known, true);
    return known && std::abs(change) > kLeastJumpMs ? change : 0;
}

std::optional<std::uint64_t> Repetition::next(std::int64_t nowMs) {
    const bool goesOn = m_quietMs != 0 && nowMs - m_lastMs < kMostQuietMs;
    m_lastMs = nowMs;
    if (goesOn && nowMs - m_toldMs < m_quietMs) {
        ++m_leftOut;
        return std::nullopt;
    }
    m_quietMs = goesOn ? std::min(2 * m_quietMs, kMostQuietMs) : kLeastQuietMs;
    m_toldMs = nowMs;
    return takeLeftOut();
}

}  // namespace vexo
