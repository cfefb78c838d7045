// SPDX-License-Identifier: MIT
// When the recorder reads the engine: on a steady grid, and after a growing pause while the engine does not answer;
// and how often people are told of what goes on.
#ifndef VEXO_SAMPLING_SCHEDULE_H
#define VEXO_SAMPLING_SCHEDULE_H

#include <cstdint>
#include <optional>
#include <random>
#include <utility>

namespace vexo {

// A grid of instants on the monotonic clock, in microseconds. A tick that has passed is never caught up.
class Schedule {
public:
    // The first tick is at `startUs`.
    Schedule(std::int64_t startUs, std::int64_t intervalUs) : m_nextUs(startUs), m_intervalUs(intervalUs) {}

    std::int64_t next() const { return m_nextUs; }
    // Goes on to the first tick behind `nowUs`, when the work of a tick is done. How many ticks passed meanwhile. Work
    // that was done before its tick was due moves nothing.
    std::uint64_t advance(std::int64_t nowUs);
    // Begins anew: the first tick is at `startUs`.
    void restart(std::int64_t startUs, std::int64_t intervalUs);

private:
    std::int64_t m_nextUs;
    std::int64_t m_intervalUs;
};

// Pauses between attempts to reach the engine: from one second on twice as long each time, up to a minute, and each
// shorter by up to a quarter at random, so that many recorders do not come back at once.
class BackOff {
public:
    explicit BackOff(std::uint32_t seed) : m_random(seed) {}

    // The pause before the next attempt, in microseconds.
    std::int64_t next();
    void reset() { m_pauseUs = kFirstUs; }

private:
    static constexpr std::int64_t kFirstUs = 1'000'000;
    static constexpr std::int64_t kLongestUs = 60 * kFirstUs;

    std::int64_t m_pauseUs = kFirstUs;
    std::minstd_rand m_random;
};

// Notices when the wall clock is set: its distance to the monotonic clock changes.
class ClockWatch {
public:
    // By how many milliseconds the wall clock jumped since the call before, if that is more than a second; else 0.
    std::int64_t jump(std::int64_t epochMs, std::int64_t monotonicUs);

private:
    bool m_known = false;
    std::int64_t m_distanceMs = 0;
};

// Which of the events are told that come again and again: the first one, then one after a minute, and after twice as long
// each time, up to an hour. An hour without any ends the row.
class Repetition {
public:
    // The next one comes now. How many were left out since one was told; none where this one is left out, too.
    std::optional<std::uint64_t> next(std::int64_t nowMs);
    // The last one that was left out is told after all. How many were left out, with that one.
    std::uint64_t takeLeftOut() { return std::exchange(m_leftOut, 0); }

private:
    std::int64_t m_lastMs = 0;
    std::int64_t m_toldMs = 0;
    std::int64_t m_quietMs = 0;  // from there on; 0 before the first
    std::uint64_t m_leftOut = 0;
};

}  // namespace vexo

#endif
