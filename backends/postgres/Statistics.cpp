// SPDX-License-Identifier: MIT
// Resource usage and communication statistics.
#include <algorithm>
#include <numeric>
#include <set>
#include <string_view>

#include "Engine.h"
#include "Queries.h"
#include "Texts.h"

namespace xr::postgres {

namespace {

// Numbers of processes, our own included unless they say otherwise.
struct Population {
    explicit Population(const std::vector<Process>& processes, std::uint32_t ownPid) {
        std::set<std::string_view> names;
        for (const Process& process : processes) {
            if (process.type == kCheckpointer) uptimeMs = process.ageMs;
            if (process.isClient()) {
                names.insert(process.user);
                ++clients;
                if (!process.address.empty()) ++remote;
            }
            const bool works = (process.isClient() && process.isActive()) || process.type == "parallel worker" ||
                               process.type == "autovacuum worker";
            if (works && process.pid != ownPid && process.leader != ownPid) ++working;
        }
        users = names.size();
    }

    std::uint64_t users = 0;
    std::uint64_t clients = 0;
    std::uint64_t remote = 0;
    std::uint64_t working = 0;   // not ours
    std::uint64_t uptimeMs = 0;  // a crash restarts this process, whereas the server's start time stays
};

}  // namespace

XRKESDUSAGE Engine::readUsage() {
    const std::unique_ptr<Reading> reading = read();
    const LockPicture& picture = reading->picture;
    const Population population(reading->activity.processes, connection().processId());
    XRKESDUSAGE usage{};
    usage.userCountCurrent = saturate(population.users);
    usage.userCountPeak = saturate(m_peaks.users.raise(population.users));

    usage.filesCurrent = saturate(picture.objects.size());
    usage.filesPeak = saturate(m_peaks.files.raise(picture.objects.size()));

    usage.handlesCurrent = saturate(picture.handles.size());
    usage.handlesPeak = saturate(m_peaks.handles.raise(picture.handles.size()));

    const auto inTransaction = [](const LockSession& session) { return session.process && session.inTransaction; };
    const auto open = std::count_if(picture.sessions.begin(), picture.sessions.end(), inTransaction);
    const std::uint64_t transactions = static_cast<std::uint64_t>(open) + reading->activity.prepared.size();
    usage.transactionsCurrent = saturate(transactions);
    usage.transactionsPeak = saturate(m_peaks.transactions.raise(transactions));

    usage.clientsCurrent = usage.sessionCountCurrent = saturate(population.clients);
    usage.clientsPeak = usage.sessionCountPeak = saturate(m_peaks.clients.raise(population.clients));
    usage.clientsMax = usage.sessionCountMax = saturateSigned(m_server.maxConnections);

    usage.workerThreadsCurrent = saturate(population.working);
    usage.workerThreadsPeak = saturate(m_peaks.workerThreads.raise(population.working));
    usage.workerThreadsMax = saturateSigned(std::uint64_t{m_server.maxConnections} + m_server.maxWorkers);

    const std::uint64_t locks =
        std::accumulate(picture.sessions.begin(), picture.sessions.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const LockSession& session) { return sum + session.locksUsed; });
    usage.locksCurrent = saturate(locks);
    usage.locksPeak = saturate(m_peaks.locks.raise(locks));

    const std::uint64_t dataInUse =
        std::accumulate(reading->sizes.begin(), reading->sizes.end(), std::uint64_t{0}) >> 20U;
    usage.dataInUseMBCurrent = saturate(dataInUse);
    usage.dataInUseMBPeak = saturate(m_peaks.dataInUse.raise(dataInUse));

    usage.engineUptimeSecs = saturate(population.uptimeMs / 1000);
    return usage;
}

XRKESDCOMMSTAT Engine::readCommunication() {
    const Population population(readProcesses(), connection().processId());
    Result counters = connection().query(queries::kCounters);
    XRKESDCOMMSTAT stat{};
    if (counters.next()) {
        // Transactions: the server counts no statements.
        stat.totalRequestsProcessed = saturate(counters.number(0));
        // An upper bound: clients that went away without a word are among them.
        stat.totalConnectionTimeouts = saturate(counters.number(1));
    }
    stat.remoteSessionsCurrent = saturate(population.remote);
    stat.remoteSessionsPeak = saturate(m_peaks.remoteSessions.raise(population.remote));
    stat.remoteSessionsMax = m_server.maxConnections;
    // One process for each.
    stat.commThreadsCurrent = saturate(population.clients);
    stat.commThreadsPeak = saturate(m_peaks.clients.raise(population.clients));
    stat.commThreadsMax = m_server.maxConnections;
    // Unix sockets are no network protocol and have no entry; nothing is counted by address.
    stat.protocolCount = 1;
    stat.protocols[0] = {kTcp, 0, stat.remoteSessionsCurrent, stat.remoteSessionsPeak};
    return stat;
}

}  // namespace xr::postgres
