// SPDX-License-Identifier: MIT
// Resource usage and communication statistics.
#include <algorithm>

#include "engine/QRIMonitorHelper.h"

namespace vexo {
namespace {

Ref<ProtocolStats> toProtocolStats(const XRPROTOCOLSTAT& raw) {
    auto protocol = makeRef<ProtocolStats>();
    protocol->protocolType = raw.protocolType;
    protocol->requestsProcessed = raw.requestsProcessed;
    protocol->remoteSessionsCurrent = raw.remoteSessionsCurrent;
    protocol->remoteSessionsPeak = raw.remoteSessionsPeak;
    return protocol;
}

}  // namespace

Ref<UsageStats> QRIMonitorHelper::getUsageStats() {
    RawArea<XRKESDUSAGE> area;
    check(m_api.XrGetKesdUsageEx2(m_handle, &area.record));
    const XRKESDUSAGE& raw = area.record;
    auto usage = makeRef<UsageStats>();
    usage->userCountCurrent = raw.userCountCurrent;
    usage->userCountPeak = raw.userCountPeak;
    usage->userCountMax = raw.userCountMax;
    usage->filesCurrent = raw.filesCurrent;
    usage->filesPeak = raw.filesPeak;
    usage->filesMax = raw.filesMax;
    usage->handlesCurrent = raw.handlesCurrent;
    usage->handlesPeak = raw.handlesPeak;
    usage->handlesMax = raw.handlesMax;
    usage->transactionsCurrent = raw.transactionsCurrent;
    usage->transactionsPeak = raw.transactionsPeak;
    usage->transactionsMax = raw.transactionsMax;
    usage->clientsCurrent = raw.clientsCurrent;
    usage->clientsPeak = raw.clientsPeak;
    usage->clientsMax = raw.clientsMax;
    usage->workerThreadsCurrent = raw.workerThreadsCurrent;
    usage->workerThreadsPeak = raw.workerThreadsPeak;
    usage->workerThreadsMax = raw.workerThreadsMax;
    usage->locksCurrent = raw.locksCurrent;
    usage->locksPeak = raw.locksPeak;
    usage->dataInUseMBCurrent = raw.dataInUseMBCurrent;
    usage->dataInUseMBPeak = raw.dataInUseMBPeak;
    usage->dataInUseMBMax = raw.dataInUseMBMax;
    usage->sessionCountCurrent = raw.sessionCountCurrent;
    usage->sessionCountPeak = raw.sessionCountPeak;
    usage->sessionCountMax = raw.sessionCountMax;
    usage->engineUptimeSecs = raw.engineUptimeSecs;
    return usage;
}

Ref<CommStats> QRIMonitorHelper::getCommStats() {
    RawArea<XRKESDCOMMSTAT> area;
    check(m_api.XrGetKesdCommStatEx(m_handle, &area.record));
    const XRKESDCOMMSTAT& raw = area.record;
    auto stats = makeRef<CommStats>();
    stats->totalRequestsProcessed = raw.totalRequestsProcessed;
    stats->unshownCount1 = raw.unshownCount1;
    stats->unshownCount2 = raw.unshownCount2;
    stats->unshownCount3 = raw.unshownCount3;
    stats->remoteSessionsCurrent = raw.remoteSessionsCurrent;
    stats->remoteSessionsPeak = raw.remoteSessionsPeak;
    stats->remoteSessionsMax = raw.remoteSessionsMax;
    stats->commThreadsCurrent = raw.commThreadsCurrent;
    stats->commThreadsPeak = raw.commThreadsPeak;
    stats->commThreadsMax = raw.commThreadsMax;
    stats->totalConnectionTimeouts = raw.totalConnectionTimeouts;
    stats->totalConnectionRecoveries = raw.totalConnectionRecoveries;
    stats->protocols = makeRef<List<ProtocolStats>>();
    // The library may announce more entries than the record has room for.
    const std::uint32_t fitting = std::min<std::uint32_t>(raw.protocolCount, XR_MAX_PROTOCOLS);
    for (std::uint32_t entry = 0; entry < fitting; ++entry) {
        stats->protocols->add(toProtocolStats(raw.protocols[entry]));
    }
    return stats;
}

}  // namespace vexo
