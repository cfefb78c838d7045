// SPDX-License-Identifier: MIT
#include "Statistics.h"

#include <algorithm>
#include <optional>

namespace xrsim {
namespace {

constexpr std::uint64_t kProtocolLife = std::uint64_t{5} << 60;

std::uint32_t currentOf(const Limit& limit, std::uint32_t counted) {
    return limit.current.value_or(counted);
}

// A stated peak holds until a moving engine's current value passes it.
std::uint32_t peakOf(const Limit& limit, std::uint32_t highest, bool living) {
    if (limit.peak && !living) return *limit.peak;
    return std::max(limit.peak.value_or(0), limit.current.value_or(highest));
}

}  // namespace

Statistics::Counts Statistics::countsOf(Round round) const {
    const Snapshot files = m_world->files(round);
    const Snapshot sessions = m_world->sessions(round);
    const Snapshot connections = m_world->connections(round);
    std::uint64_t handles = 0;
    std::uint64_t sizeKb = 0;
    for (std::uint32_t index = 0; index < files.count(); ++index) {
        const Item file = *files.at(index);
        XRFILEINFO info{};
        m_world->fillFile(file, round, info);
        sizeKb += info.physicalFileSizeKB;
        handles += m_world->fileHandles(file, round);
    }
    std::uint32_t locks = 0;
    std::uint32_t transactions = 0;
    std::uint32_t remote = 0;
    for (std::uint32_t index = 0; index < sessions.count(); ++index) {
        XRKESDCLIENTINFO info{};
        m_world->fillSession(*sessions.at(index), round, info);
        locks += info.locksUsed;
        if (info.transactionState != 0) ++transactions;
        if (info.site == 0) ++remote;
    }
    const std::uint32_t clients = sessions.count() + connections.count();
    constexpr std::uint32_t kMostThreads = 32;
    return {sessions.count(),
            files.count(),
            static_cast<std::uint32_t>(handles),
            transactions,
            clients,
            std::min(clients, kMostThreads),
            locks,
            static_cast<std::uint32_t>(sizeKb / 1024),
            sessions.count(),
            remote};
}

void Statistics::advanceTo(Round round) {
    while (m_round < round) {
        ++m_round;
        m_current = countsOf(m_round);
        for (std::size_t i = 0; i < m_highest.size(); ++i)
            m_highest[i] = std::max(m_highest[i], m_current[i]);
    }
}

void Statistics::fillUsage(Round round, XRKESDUSAGE& usage) {
    advanceTo(round);
    const Scenario& scenario = m_world->scenario();
    const auto current = [&](Resource resource) {
        const auto i = static_cast<std::size_t>(resource);
        return currentOf(scenario.usage[i], m_current[i]);
    };
    const auto peak = [&](Resource resource) {
        const auto i = static_cast<std::size_t>(resource);
        return peakOf(scenario.usage[i], m_highest[i], scenario.life.on);
    };
    const auto max = [&](Resource resource) { return scenario.usage[static_cast<std::size_t>(resource)].max; };
    using R = Resource;
    usage = {current(R::kUsers),
             peak(R::kUsers),
             max(R::kUsers),
             current(R::kFiles),
             peak(R::kFiles),
             max(R::kFiles),
             current(R::kHandles),
             peak(R::kHandles),
             max(R::kHandles),
             current(R::kTransactions),
             peak(R::kTransactions),
             max(R::kTransactions),
             current(R::kClients),
             peak(R::kClients),
             max(R::kClients),
             current(R::kWorkerThreads),
             peak(R::kWorkerThreads),
             max(R::kWorkerThreads),
             current(R::kLocks),
             peak(R::kLocks),  // locks have no maximum
             current(R::kDataInUse),
             peak(R::kDataInUse),
             max(R::kDataInUse),
             current(R::kSessions),
             peak(R::kSessions),
             max(R::kSessions),
             m_world->uptimeSeconds(round)};
}

void Statistics::fillCommunication(Round round, XRKESDCOMMSTAT& stat) {
    advanceTo(round);
    const Scenario& scenario = m_world->scenario();
    const Communication& stated = scenario.communication;
    const Life& life = scenario.life;
    const std::vector<Protocol>& protocols = stated.protocols;
    stat.unshownCount1 = stated.unshown[0];
    stat.unshownCount2 = stated.unshown[1];
    stat.unshownCount3 = stated.unshown[2];
    stat.remoteSessionsCurrent = currentOf(stated.sessions, m_current[kResources]);
    stat.remoteSessionsPeak = peakOf(stated.sessions, m_highest[kResources], life.on);
    stat.remoteSessionsMax = stated.sessionsMax;
    const std::uint32_t threads = 1 + static_cast<std::uint32_t>(protocols.size());
    stat.commThreadsCurrent = currentOf(stated.threads, threads);
    stat.commThreadsPeak = peakOf(stated.threads, threads, life.on);
    stat.commThreadsMax = stated.threadsMax;
    stat.protocolCount = stated.announcedProtocols.value_or(static_cast<std::uint32_t>(protocols.size()));
    stat.totalConnectionTimeouts = stated.timeouts;
    stat.totalConnectionRecoveries = stated.recoveries;

    // The first protocol has the remote sessions that no other one states.
    std::uint32_t elsewhere = 0;
    for (std::size_t i = 1; i < protocols.size(); ++i)
        elsewhere += protocols[i].sessions.current.value_or(0);
    std::uint32_t total = 0;
    for (std::size_t i = 0; i < protocols.size(); ++i) {
        const Protocol& protocol = protocols[i];
        const auto rest = [&](std::uint32_t all) { return i == 0 && all > elsewhere ? all - elsewhere : 0; };
        const std::uint32_t sessions = currentOf(protocol.sessions, rest(stat.remoteSessionsCurrent));
        const std::uint64_t rate = std::uint64_t{life.activity} * (sessions + 1);
        const std::uint32_t requests = life.grown(protocol.requests, rate, kProtocolLife + i, round);
        total += requests;
        if (i >= XR_MAX_PROTOCOLS) continue;
        stat.protocols[i] = {protocol.type, requests, sessions,
                             peakOf(protocol.sessions, rest(stat.remoteSessionsPeak), life.on)};
    }
    stat.totalRequestsProcessed = stated.requests.value_or(total);
}

}  // namespace xrsim
