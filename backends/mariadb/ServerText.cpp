// SPDX-License-Identifier: MIT
#include "ServerText.h"

#include <algorithm>

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

std::optional<ServerAddress> hostAndPort(std::string_view host, std::string_view portText) {
    const std::optional<unsigned> port = parsePort(portText);
    if (host.empty() || !port) return std::nullopt;
    return ServerAddress{std::string(host), "", *port, true};
}

std::optional<ServerAddress> bracketed(std::string_view text) {
    const std::size_t close = text.find(']');
    if (close == std::string_view::npos || close == 1) return std::nullopt;
    const std::string_view host = text.substr(1, close - 1);
    const std::string_view rest = text.substr(close + 1);
    if (rest.empty()) return ServerAddress{std::string(host), "", 0, false};
    return rest[0] == ':' ? hostAndPort(host, rest.substr(1)) : std::nullopt;
}

}  // namespace

std::optional<ServerAddress> parseServerText(std::string_view text) {
    if (text.empty()) return ServerAddress{};
    if (text[0] == '/') {
        if (text.size() > kLongestSocketPath) return std::nullopt;
        return ServerAddress{"", std::string(text), 0, false};
    }
    if (text[0] == '[') return bracketed(text);
    if (std::count(text.begin(), text.end(), ':') == 1) {
        const std::size_t colon = text.find(':');
        return hostAndPort(text.substr(0, colon), text.substr(colon + 1));
    }
    return ServerAddress{std::string(text), "", 0, false};
}

ClientAddress splitClientAddress(std::string_view text) {
    // Clients over TCP always carry a port, so the bare word is the Unix socket.
    if (text == "localhost") return {true, text};
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || !allDigits(text.substr(colon + 1))) return {false, text};
    return {false, text.substr(0, colon)};
}

bool isLoopback(std::string_view host) {
    constexpr std::string_view kMapped = "::ffff:";
    if (host.substr(0, kMapped.size()) == kMapped) host.remove_prefix(kMapped.size());
    return host == "localhost" || host == "::1" || host.substr(0, 4) == "127.";
}

}  // namespace xrmariadb
