// SPDX-License-Identifier: MIT
#include "export/EngineMetrics.h"

#include <algorithm>

#include "record/Codes.h"

namespace vexo {
namespace {

// The version is the engine's text, and a label takes nothing but a version.
std::string plainVersion(std::string_view text) {
    constexpr std::size_t kLongest = 32;
    constexpr std::string_view kAllowed = "0123456789.-_+abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const bool plain = text.size() <= kLongest && text.find_first_not_of(kAllowed) == std::string_view::npos;
    return std::string(plain ? text : std::string_view());
}

void countHandles(const Record& record, EngineMetrics& metrics) {
    metrics.handlesWaiting.values.fill(0);
    metrics.handlesLocking.values.fill(0);
    metrics.oldestWaitMs = 0;
    for (const WaitItem& wait : record.waits) {
        metrics.handlesWaiting.addWord(wordOf(Codes::kWaitState, wait.waitState), 1);
        metrics.oldestWaitMs = std::max(*metrics.oldestWaitMs, wait.waitedMs);
    }
    for (const FileHandleItem& handle : record.fileHandles)
        if (locks(handle.state)) metrics.handlesLocking.add(handle.state.recordLock == kSingleLock ? 0 : 1, 1);
}

}  // namespace

EngineMetrics metricsOf(const Record& record) {
    constexpr double kMillisPerSecond = 1000;
    EngineMetrics metrics;
    metrics.version = plainVersion(record.name(record.engineVersion));
    metrics.usage = record.usage;
    if (record.usage) {
        const auto uptimeMs = static_cast<double>(record.usage->uptimeSeconds) * kMillisPerSecond;
        metrics.startTime = (static_cast<double>(record.epochMs) - uptimeMs) / kMillisPerSecond;
    }
    metrics.communication = record.communication;
    for (const ProtocolItem& protocol : record.protocols)
        metrics.requestsByProtocol.addWord(wordOf(Codes::kProtocol, protocol.type), protocol.requests);
    if (record.has(Section::kConnections)) {
        metrics.connectionsByStatus.values.fill(0);
        for (const ConnectionItem& connection : record.connections)
            metrics.connectionsByStatus.addWord(wordOf(Codes::kConnectionStatus, connection.status), 1);
    }
    if (record.has(Section::kFiles) && record.scope != HandleScope::kNone) countHandles(record, metrics);
    return metrics;
}

}  // namespace vexo
