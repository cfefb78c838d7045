// SPDX-License-Identifier: MIT
// What changes while the engine runs. Everything is computed from the seed, the item and the round, so a snapshot is
// frozen by keeping its round, and a run repeats exactly.
#ifndef XRSIM_LIFE_H
#define XRSIM_LIFE_H

#include <cstdint>

namespace xrsim {

// Rounds are counted from 1. All data calls of one pass over the engine see the same round.
using Round = std::uint32_t;

// The rounds in which a written-out item exists.
struct Lifetime {
    Round from = 1;
    Round to = UINT32_MAX;

    bool covers(Round round) const { return from <= round && round <= to; }
};

struct Life {
    bool on = false;
    std::uint64_t seed = 1;
    std::uint32_t roundSeconds = 5;
    std::uint32_t churnPercent = 0;
    std::uint32_t activity = 100;  // records that a session reads in a round
    std::uint32_t arrivals = 0;    // generated items that replace the oldest ones in a round

    // A number that looks random and is always the same for the same item and moment (splitmix64).
    std::uint64_t random(std::uint64_t item, std::uint64_t moment) const {
        std::uint64_t z = seed + item * 0x9e3779b97f4a7c15U + moment * 0xd1b54a32d192ed03U;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31);
    }

    // Whether an item that comes and goes is present. Everything is in the first round; later it stays present or absent
    // for up to four rounds at a time.
    bool isPresent(std::uint64_t item, Round round) const {
        if (!on || churnPercent == 0 || round <= 1) return true;
        const std::uint64_t spell = (round + item % 4) / 4;
        return random(item, spell) % 100 >= churnPercent;
    }

    // `base` after it grew by about `rate` in each round since the first. Never shrinks; wraps at 32 bits, as the engine's counters do.
    std::uint32_t grown(std::uint32_t base, std::uint64_t rate, std::uint64_t item, Round round) const {
        if (!on || rate == 0 || round <= 1) return base;
        return base + static_cast<std::uint32_t>(rate * (round - 1) + random(item, round) % rate);
    }

    // `base`, or between half and one and a half of it from the second round on.
    std::uint32_t swung(std::uint32_t base, std::uint64_t item, Round round) const {
        if (!on || base == 0 || round <= 1) return base;
        return static_cast<std::uint32_t>(base - base / 2 + random(item, round) % (std::uint64_t{base} + 1));
    }

    std::uint32_t secondsUntil(Round round) const { return on ? (round - 1) * roundSeconds : 0; }
};

}  // namespace xrsim

#endif
