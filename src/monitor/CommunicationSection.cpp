// SPDX-License-Identifier: MIT
// What the engine has served over the network, in total and for each protocol.
#include <algorithm>
#include <iterator>

#include "monitor/MonitorProcessor.h"
#include "monitor/Protocols.h"
#include "monitor/ReportWriter.h"

namespace vexo {
namespace {

bool isUnknown(StringView label) {
    return equalsIgnoreCase(label, NA);
}

// The JSON key of a protocol; empty for a protocol that has none.
StringView keyOf(int code, StringView Protocol::*key) {
    const auto protocol = std::find_if(std::begin(kProtocols), std::end(kProtocols),
                                       [code](const Protocol& known) { return known.code == code; });
    return protocol != std::end(kProtocols) ? protocol->*key : StringView();
}

// How many of something there are, were at most and may be.
void putUse(ReportWriter& out, StringView label, StringView jsonStart, std::uint64_t current, std::uint64_t peak,
            const String& maximum) {
    out.text(1, label, current, L"\t\t", peak, L"\t\t", maximum);
    out.json(jsonStart);
    out.json(L"\t\t\t\"current\": ", current, L",");
    out.json(L"\t\t\t\"peak\": ", peak, L",");
    out.json(L"\t\t\t\"maximum\": \"", maximum, L"\"");
    // Established output: the comma is written even when nothing follows.
    out.json(L"\t\t},");
}

}  // namespace

void MonitorProcessor::processCommunicationStats(bool json) {
    const auto stats = m_engine->getCommStats();
    const String threadsMax = getMaxValue(static_cast<long>(stats->commThreadsMax));
    const String sessionsMax = getMaxValue(static_cast<long>(stats->remoteSessionsMax));
    ReportWriter out(*m_format, json);

    out.title(0, L"Communication Statistics");
    out.json(L"\t\"communication_statistics\":");
    out.json(L"\t{");
    const Row total[] = {
        {L"Total Requests Processed:\t", L"\t\t\"total_requests_processed\": ", stats->totalRequestsProcessed, L","},
    };
    out.rows(1, total);
    for (const Ref<ProtocolStats>& protocol : *stats->protocols) {
        const int code = static_cast<int>(protocol->protocolType);
        const StringView label = getProtocolRequestString(code);
        if (isUnknown(label)) continue;
        out.text(1, label, L":\t", protocol->requestsProcessed);
        const StringView key = keyOf(code, &Protocol::requestsKey);
        if (!key.empty()) out.json(L"\t\t\"", key, L"\": ", protocol->requestsProcessed, L",");
    }
    const std::uint64_t timeouts = stats->totalConnectionTimeouts;
    const std::uint64_t recoveries = stats->totalConnectionRecoveries;
    const Row connections[] = {
        {L"Total Connection Timeouts:\t",   L"\t\t\"total_connection_timeouts\": ",   timeouts,   L","},
        {L"Total Connection Recoveries:\t", L"\t\t\"total_connection_recoveries\": ", recoveries, L","},
    };
    out.rows(1, connections);

    out.text(1, L"                                Current\t\tPeak\t\tMaximum");
    putUse(out, L"Communication Threads:          ", L"\t\t\"communication_threads\": {", stats->commThreadsCurrent,
           stats->commThreadsPeak, threadsMax);
    putUse(out, L"Total Remote Sessions:          ", L"\t\t\"total_remote_sessions\": {", stats->remoteSessionsCurrent,
           stats->remoteSessionsPeak, sessionsMax);

    for (const Ref<ProtocolStats>& protocol : *stats->protocols) {
        const int code = static_cast<int>(protocol->protocolType);
        const StringView label = getProtocolSessionString(code);
        if (isUnknown(label)) continue;
        out.text(1, label, protocol->remoteSessionsCurrent, L"\t\t", protocol->remoteSessionsPeak);
        const StringView key = keyOf(code, &Protocol::sessionsKey);
        if (key.empty()) continue;
        out.json(L"\t\t\"", key, L"\": {");
        out.json(L"\t\t\t\"current\": ", protocol->remoteSessionsCurrent, L",");
        out.json(L"\t\t\t\"peak\": ", protocol->remoteSessionsPeak);
        // Established output: no comma between the protocols.
        out.json(L"\t\t}");
    }
    // Established output: no comma after the last section, although another record may follow.
    out.json(L"\t}");
}

}  // namespace vexo
