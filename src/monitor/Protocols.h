// SPDX-License-Identifier: MIT
// The network protocols that the reports know, and all their words.
#ifndef VEXO_MONITOR_PROTOCOLS_H
#define VEXO_MONITOR_PROTOCOLS_H

#include "foundation/String.h"

namespace vexo {

struct Protocol {
    int code;  // as the engine numbers it
    StringView requestsLabel;
    StringView sessionsLabel;  // filled up to the column of its value
    StringView requestsKey;
    StringView sessionsKey;
};

// Established output: "tcp/ip" in the key of the sessions, "tcp" in that of the requests; and the label of the NetBIOS
// sessions has a blank less than the others, so its value starts a column earlier.
inline constexpr Protocol kProtocols[] = {
    {1,  L"SPX Requests Processed",     L"SPX Remote Sessions:            ", L"spx_requests_processed",
     L"spx_remote_sessions"    },
    {4,  L"TCP/IP Requests Processed",  L"TCP/IP Remote Sessions:         ", L"tcp_requests_processed",
     L"tcp/ip_remote_sessions" },
    {12, L"NETBIOS Requests Processed", L"NETBIOS Remote Sessions:       ",  L"netbios_requests_processed",
     L"netbios_remote_sessions"},
};

}  // namespace vexo

#endif
