// SPDX-License-Identifier: MIT
#include "ServerText.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

#include "Texts.h"

namespace xr {

namespace {

constexpr std::size_t kLongestSocketPath = 107;  // the kernel's sun_path without its NUL

std::optional<unsigned> parsePort(std::string_view text) {
    if (!isDigits(text) || text.size() > 5) return std::nullopt;
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

bool isLoopback(std::string_view host) {
    constexpr std::string_view kMapped = "::ffff:";
    if (host.substr(0, kMapped.size()) == kMapped) host.remove_prefix(kMapped.size());
    return host == "localhost" || host == "::1" || host.substr(0, 4) == "127.";
}

}  // namespace xr
