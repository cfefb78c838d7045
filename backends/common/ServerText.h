// SPDX-License-Identifier: MIT
// Reads the server text of the monitor's configuration: a host, with or without port, or a Unix socket.
#ifndef VEXO_COMMON_SERVERTEXT_H
#define VEXO_COMMON_SERVERTEXT_H

#include <optional>
#include <string>
#include <string_view>

namespace xr {

struct ServerAddress {
    std::string host;         // "localhost" for a Unix socket
    std::string socket;       // its path, or that of its directory; empty: the client library's default
    unsigned port = 0;        // 0: the client library's default
    bool unixSocket = false;  // otherwise TCP, also to "localhost" if a port is given
};

// "" (default socket), "/path/of/socket", "host", "host:port", "[address]", "[address]:port" or a bare IPv6 address.
// Nothing if the text is none of these, as are the lists of hosts and addresses of plug-ins that the client library
// understands besides.
std::optional<ServerAddress> parseServerText(std::string_view text);

// Whether a host name or an IP address is this machine's loopback.
bool isLoopback(std::string_view host);

}  // namespace xr

#endif
