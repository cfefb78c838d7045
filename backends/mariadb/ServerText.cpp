// SPDX-License-Identifier: MIT
#include "ServerText.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

namespace xrmariadb {

namespace {

constexpr std::size_t kLongestSocketPath = 107;  // the kernel's sun_path without its NUL

bool allDigits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<unsigned> parsePort(std::string_view text) {
    if (!allDigits(text) || text.size() > 5) return std::nullopt;
    unsigned port = 0;
    for (const char digit : text)
        port = port * 10 + static_cast<unsigned>(digit - '0');
    if (port == 0 || port > 65535) return std::nullopt;
    return port;
}

bool isHostName(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_';
    });
}

// With or without the interface's name behind a "%".
bool isIpv6Address(std::string_view text) {
    const std::size_t zone = std::min(text.find('%'), text.size());
    const std::string address(text.substr(0, zone));
    in6_addr bytes{};
    return inet_pton(AF_INET6, address.c_str(), &bytes) == 1 &&
           (zone == text.size() || isHostName(text.substr(zone + 1)));
}

std::optional<ServerAddress> bracketed(std::string_view text) {
    const std::size_t close = std::min(text.find(']'), text.size());
    const std::string_view host = text.substr(1, close - 1);
    const std::string_view rest = text.substr(std::min(close + 1, text.size()));
    if (close == text.size() || !isIpv6Address(host)) return std::nullopt;
    if (rest.empty()) return ServerAddress{std::string(host), "", 0, false};
    const std::optional<unsigned> port = rest[0] == ':' ? parsePort(rest.substr(1)) : std::nullopt;
    if (!port) return std::nullopt;
    return ServerAddress{std::string(host), "", *port, false};
}

}  // namespace

std::optional<ServerAddress> parseServerText(std::string_view text) {
    if (text.empty() || text == "localhost") return ServerAddress{"localhost", "", 0, true};
    if (text[0] == '/') {
        if (text.size() > kLongestSocketPath) return std::nullopt;
        return ServerAddress{"localhost", std::string(text), 0, true};
    }
    if (text[0] == '[') return bracketed(text);
    if (isHostName(text) || isIpv6Address(text)) return ServerAddress{std::string(text), "", 0, false};
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::optional<unsigned> port = parsePort(text.substr(std::min(colon + 1, text.size())));
    if (!port || !isHostName(text.substr(0, colon))) return std::nullopt;
    return ServerAddress{std::string(text.substr(0, colon)), "", *port, false};
}

ClientAddress splitClientAddress(std::string_view text) {
    // Clients over TCP always carry a port, so the bare word is the Unix socket.
    if (text == "localhost") return {true, text};
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || !allDigits(text.substr(colon + 1))) return {false, text};
    return {false, text.substr(0, colon)};
}

bool grantsProcess(std::string_view grant) {
    // A user's name stands behind it and may be anything.
    const std::string_view privileges = grant.substr(0, grant.find(" ON "));
    if (privileges.size() == grant.size() || grant.substr(privileges.size(), 11) != " ON *.* TO ") return false;
    return privileges == "GRANT ALL PRIVILEGES" ||
           (std::string(privileges) + ",").find(" PROCESS,") != std::string::npos;
}

bool isLoopback(std::string_view host) {
    constexpr std::string_view kMapped = "::ffff:";
    if (host.substr(0, kMapped.size()) == kMapped) host.remove_prefix(kMapped.size());
    return host == "localhost" || host == "::1" || host.substr(0, 4) == "127.";
}

}  // namespace xrmariadb
