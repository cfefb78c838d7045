// SPDX-License-Identifier: MIT
// Usage and communication statistics: what the scenario states, and otherwise what the lists of the round add up to.
#ifndef XRSIM_STATISTICS_H
#define XRSIM_STATISTICS_H

#include <array>
#include <cstdint>

#include "World.h"

namespace xrsim {

class Statistics {
public:
    explicit Statistics(const World& world) : m_world(&world) {}

    // Rounds have to be asked for in order: the peaks keep the highest values so far.
    void fillUsage(Round round, XRKESDUSAGE& usage);
    void fillCommunication(Round round, XRKESDCOMMSTAT& stat);

private:
    // One value for each Resource, and the remote sessions last.
    using Counts = std::array<std::uint32_t, kResources + 1>;

    Counts countsOf(Round round) const;
    void advanceTo(Round round);

    const World* m_world;
    Round m_round = 0;
    Counts m_current{};
    Counts m_highest{};
};

}  // namespace xrsim

#endif
