// SPDX-License-Identifier: MIT
#include "TextField.h"
#include "World.h"

namespace xrsim {
namespace {

constexpr std::uint64_t kConnectionLife = std::uint64_t{4} << 60;
constexpr Round kSpell = 2;  // rounds for which a connection stays active or idle

}  // namespace

Snapshot World::connections(Round round) const {
    std::vector<std::uint32_t> present;
    for (std::uint32_t i = 0; i < m_scenario.connections.size(); ++i) {
        if (!m_scenario.connections[i].lifetime.covers(round)) continue;
        if (m_scenario.life.isPresent(kConnectionLife + i, round)) present.push_back(i);
    }
    return {round, std::move(present), firstGenerated(round), m_scenario.generated.connections};
}

void World::fillConnection(Item connection, Round round, XRSQLCONNINFO& info) const {
    const Life& life = m_scenario.life;
    const std::uint64_t item = kConnectionLife + connection.number;
    if (!connection.generated) {
        info = m_scenario.connections[connection.number].info;
    } else {
        const std::uint64_t bits = life.random(item, 0);
        const Pattern& name = m_scenario.generated.userName;
        info.userName[name.write(info.userName, sizeof info.userName - 1, connection.number)] = '\0';
        putText(info.clientHostName, "generated");
        putText(info.networkAddress, "generated");
        putText(info.clientApplication, "load");
        putText(info.dataSourceName, "SHOP");
        info.connectionStatus = static_cast<std::uint16_t>(bits % 2);
        info.activeIdlePeriodMs = static_cast<std::uint32_t>((bits >> 1) % 600'000);
        info.totalConnectionTime = info.activeIdlePeriodMs / 1000 + static_cast<std::uint32_t>((bits >> 32) % 36'000);
    }
    if (!life.on || round == 1 || info.connectionStatus > 1) return;
    const Round inSpell = (round + static_cast<Round>(item % kSpell)) % kSpell;
    info.connectionStatus = static_cast<std::uint16_t>(life.random(item, (round - inSpell) / kSpell) % 2);
    info.activeIdlePeriodMs =
        inSpell * life.roundSeconds * 1000 + static_cast<std::uint32_t>(life.random(item, 0) % 1000);
    info.totalConnectionTime += life.secondsUntil(round);
}

}  // namespace xrsim
