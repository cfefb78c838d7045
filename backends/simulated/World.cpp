// SPDX-License-Identifier: MIT
#include "World.h"

namespace xrsim {

Status World::admits(std::string_view server, std::string_view user, std::string_view password) const {
    if (m_scenario.accounts.empty()) return kOk;
    bool serverIsKnown = false;
    for (const Account& account : m_scenario.accounts) {
        if (account.server && *account.server != server) continue;
        serverIsKnown = true;
        if (account.user == user && account.password == password) return kOk;
    }
    return serverIsKnown ? kAccessDenied : kUnknownServer;
}

std::uint32_t World::uptimeSeconds(Round round) const {
    return m_scenario.engine.uptimeSeconds + m_scenario.life.secondsUntil(round);
}

std::uint32_t World::firstGenerated(Round round) const {
    const Life& life = m_scenario.life;
    return life.on ? static_cast<std::uint32_t>(std::uint64_t{life.arrivals} * (round - 1) % (Pattern::kLimit / 2)) : 0;
}

bool World::isPresent(const Handle& handle, Round round) const {
    if (handle.holder && !isConnected(*handle.holder, round)) return false;
    return m_scenario.life.isPresent(handle.lifeKey, round);
}

std::uint32_t World::presentHandles(const std::vector<Handle>& handles, Round round) const {
    return static_cast<std::uint32_t>(
        std::count_if(handles.begin(), handles.end(), [&](const Handle& handle) { return isPresent(handle, round); }));
}

const Handle* World::presentHandle(const std::vector<Handle>& handles, Round round, std::uint32_t index) const {
    for (const Handle& handle : handles) {
        if (isPresent(handle, round) && index-- == 0) return &handle;
    }
    return nullptr;
}

std::uint32_t World::generatedHandles(Item item, Round round, std::uint32_t usual) const {
    const Life& life = m_scenario.life;
    if (!life.on || life.churnPercent == 0) return usual;
    const std::uint64_t most = std::uint64_t{usual} * life.churnPercent / 100;
    return usual - static_cast<std::uint32_t>(life.random(item.number, round) % (most + 1));
}

}  // namespace xrsim
