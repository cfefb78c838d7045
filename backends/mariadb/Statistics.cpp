// SPDX-License-Identifier: MIT
// Resource usage and communication statistics.
#include <algorithm>

#include "Activity.h"
#include "Queries.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

// The server's status values and the population of its process list, our own connection included.
class Totals {
public:
    explicit Totals(Engine& engine) : m_status(engine.readVariables(queries::kStatus)) {
        Result rows = engine.connection().query(queries::users().c_str());
        if (rows.next()) {
            users = rows.number(0);
            remote = rows.number(2);
        }
        for (const char* lost : {"file_instances", "metadata_lock", "thread_instances"}) {
            const std::string name = std::string("Performance_schema_") + lost + "_lost";
            if ((*this)[name] == 0 || isNoLoss(engine, lost)) continue;
            engine.log().notice(name + " is not 0: performance_schema had no room for all, so lists are incomplete");
        }
    }

    std::uint64_t operator[](std::string_view name) const {
        const auto found = m_status.find(name);
        return found == m_status.end() ? 0 : toNumber(found->second);
    }

    std::uint64_t users = 0;
    std::uint64_t remote = 0;

private:
    // Files in directories that do not exist count as lost, too, such as those of DROP TABLE IF EXISTS in an unknown
    // database. Without a limit there is room for all others.
    static bool isNoLoss(const Engine& engine, std::string_view kind) {
        return kind == "file_instances" && engine.variable("performance_schema_max_file_instances") == "-1";
    }

    Variables m_status;
};

bool hasThreadPool(const Engine& engine) {
    return engine.variable("thread_handling") == "pool-of-threads";
}

// One connection more than the limit may be there, an administrator's.
std::uint64_t maxSessions(const Engine& engine) {
    const std::uint64_t extra = engine.number("extra_port") == 0 ? 0 : engine.number("extra_max_connections");
    return engine.number("max_connections") + extra;
}

std::uint64_t maxThreads(const Engine& engine) {
    return engine.number(hasThreadPool(engine) ? "thread_pool_max_threads" : "max_connections");
}

// The server's own peak of connections is set back by FLUSH STATUS, the one seen here is not.
std::uint64_t peakSessions(Engine& engine, const Totals& totals) {
    engine.peaks().sessions.raise(totals["Max_used_connections"]);
    return engine.peaks().sessions.raise(totals["Threads_connected"]);
}

constexpr std::uint64_t toMB(std::uint64_t bytes) {
    return bytes >> 20U;
}

std::uint64_t readRemoteRequests(Engine& engine) {
    if (!engine.hasPerformanceSchema()) return 0;
    if (!engine.isOn("skip_name_resolve")) {
        engine.log().tell("Names are resolved: requests by protocol leave out TCP clients on the server's own machine");
    }
    auto rows = engine.queryOptional(queries::kRemoteRequests, "the requests by protocol read 0");
    return rows && rows->next() ? rows->number(0) : 0;
}

}  // namespace

XRKESDUSAGE Engine::readUsage() {
    refreshVariables();
    const Totals totals(*this);
    const Transactions transactions = readTransactions(*this);
    XRKESDUSAGE usage{};
    usage.userCountCurrent = saturate(totals.users);
    usage.userCountPeak = saturate(m_peaks.users.raise(totals.users));
    usage.userCountMax = saturateSigned(number("max_connections"));

    const std::uint64_t files = totals["Open_files"] + totals["Innodb_num_open_files"];
    usage.filesCurrent = saturate(files);
    usage.filesPeak = saturate(m_peaks.files.raise(files));
    usage.filesMax = saturateSigned(number("open_files_limit"));

    const std::uint64_t handles = totals["Open_tables"];
    usage.handlesCurrent = saturate(handles);
    usage.handlesPeak = saturate(m_peaks.handles.raise(handles));
    usage.handlesMax = saturateSigned(number("table_open_cache"));

    usage.transactionsCurrent = saturate(transactions.open);
    usage.transactionsPeak = saturate(m_peaks.transactions.raise(transactions.open));

    usage.clientsCurrent = usage.sessionCountCurrent = saturate(totals["Threads_connected"]);
    usage.clientsPeak = usage.sessionCountPeak = saturate(peakSessions(*this, totals));
    usage.clientsMax = usage.sessionCountMax = saturateSigned(maxSessions(*this));

    const std::uint64_t running = totals["Threads_running"];
    usage.workerThreadsCurrent = saturate(running);
    usage.workerThreadsPeak = saturate(m_peaks.workerThreads.raise(running));
    usage.workerThreadsMax = saturateSigned(maxThreads(*this));

    usage.locksCurrent = saturate(transactions.rowLocks);
    usage.locksPeak = saturate(m_peaks.locks.raise(transactions.rowLocks));

    const std::uint64_t dataInUse = toMB(totals["Innodb_buffer_pool_bytes_data"]);
    usage.dataInUseMBCurrent = saturate(dataInUse);
    usage.dataInUseMBPeak = saturate(m_peaks.dataInUse.raise(dataInUse));
    usage.dataInUseMBMax = saturateSigned(toMB(number("innodb_buffer_pool_size")));

    usage.engineUptimeSecs = saturate(totals["Uptime"]);
    return usage;
}

XRKESDCOMMSTAT Engine::readCommunication() {
    refreshVariables();
    const Totals totals(*this);
    XRKESDCOMMSTAT stat{};
    stat.totalRequestsProcessed = saturate(totals["Questions"]);
    stat.remoteSessionsCurrent = saturate(totals.remote);
    stat.remoteSessionsPeak = saturate(m_peaks.remoteSessions.raise(totals.remote));
    stat.remoteSessionsMax = saturate(number("max_connections"));
    const std::uint64_t connected = totals["Threads_connected"];
    const std::uint64_t pool = totals["Threadpool_threads"];
    const bool pooled = hasThreadPool(*this);
    stat.commThreadsCurrent = saturate(pooled ? pool : connected);
    stat.commThreadsPeak = saturate(pooled ? m_peaks.poolThreads.raise(pool) : peakSessions(*this, totals));
    stat.commThreadsMax = saturate(maxThreads(*this));
    // An upper bound: clients that were killed or went away without a word are among them.
    stat.totalConnectionTimeouts = saturate(totals["Aborted_clients"]);
    // The Unix socket is no network protocol and has no entry.
    stat.protocolCount = 1;
    stat.protocols[0] = {kTcp, saturate(readRemoteRequests(*this)), stat.remoteSessionsCurrent,
                         stat.remoteSessionsPeak};
    return stat;
}

}  // namespace xr::mariadb
