// SPDX-License-Identifier: MIT
#include "http/ListenAddress.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "messages/MessageHelper.h"

namespace vexo {
namespace {

constexpr std::string_view kEveryAddress = "*";

template <typename... Arguments>
[[noreturn]] void refuse(const char* key, const Arguments&... arguments) {
    throw Exception(MessageHelper("AGENT", "AGENT_").getResStr(key, arguments.c_str()...));
}

struct FreeAddresses {
    void operator()(addrinfo* first) const { ::freeaddrinfo(first); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

// Takes the brackets off an IPv6 address; an address with colons has to have them, lest its end be taken for the port.
bool takeHost(std::string_view text, std::string& host) {
    const bool bracketed = text.size() >= 2 && text.front() == '[' && text.back() == ']';
    if (bracketed) text = text.substr(1, text.size() - 2);
    if (text.empty() || (text.find(':') != std::string_view::npos) != bracketed) return false;
    host = text;
    return true;
}

// Zero, or why not.
int listenOn(const addrinfo& address, bool alsoIpv4, FileDescriptor& listener) {
    listener = FileDescriptor(::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (listener.get() < 0) return errno;
    const int yes = 1;
    const int only = alsoIpv4 ? 0 : 1;
    ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (address.ai_family == AF_INET6) ::setsockopt(listener.get(), IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof only);
    if (::bind(listener.get(), address.ai_addr, address.ai_addrlen) != 0) return errno;
    return ::listen(listener.get(), SOMAXCONN) != 0 ? errno : 0;
}

void setPort(addrinfo& address, std::uint16_t port) {
    // Both kinds of address have the port in the same place.
    reinterpret_cast<sockaddr_in*>(address.ai_addr)->sin_port = htons(port);
}

// A name may stand for the same address twice, as in a file of hosts that has it in two lines.
std::vector<addrinfo*> distinct(addrinfo* first) {
    std::vector<addrinfo*> addresses;
    for (addrinfo* next = first; next; next = next->ai_next) {
        const auto isSame = [next](const addrinfo* known) {
            return known->ai_addrlen == next->ai_addrlen &&
                   std::memcmp(known->ai_addr, next->ai_addr, next->ai_addrlen) == 0;
        };
        if (std::none_of(addresses.begin(), addresses.end(), isSame)) addresses.push_back(next);
    }
    return addresses;
}

// This machine, or a name of it, may lack one kind of address.
bool isMissingKind(int error) {
    return error == EADDRNOTAVAIL || error == EAFNOSUPPORT;
}

Addresses resolve(const std::string& host, std::string& reason) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (error != 0) reason = error == EAI_SYSTEM ? std::strerror(errno) : ::gai_strerror(error);
    return Addresses(error == 0 ? found : nullptr);
}

}  // namespace

ListenAddress::ListenAddress(std::string_view text) : m_text(text) {
    const auto colon = text.rfind(':');
    const std::string_view port = colon == std::string_view::npos ? text : text.substr(colon + 1);
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), m_port);
    const bool hasPort = error == std::errc() && end == port.data() + port.size();
    const bool hasHost = colon == std::string_view::npos || takeHost(text.substr(0, colon), m_host);
    if (!hasPort || !hasHost) refuse("ERR_LISTEN_ADDRESS", m_text);
}

std::vector<std::string> ListenAddress::hosts() const {
    if (m_host.empty()) return {"127.0.0.1", "::1"};
    if (m_host == kEveryAddress) return {"::", "0.0.0.0"};
    return {m_host};
}

std::vector<FileDescriptor> ListenAddress::listen() const {
    std::vector<FileDescriptor> listeners;
    std::string reason;
    std::uint16_t port = m_port;
    const bool everywhere = m_host == kEveryAddress;
    for (const std::string& host : hosts()) {
        const Addresses addresses = resolve(host, reason);
        for (addrinfo* const address : distinct(addresses.get())) {
            setPort(*address, port);  // any free one is the same for all addresses
            FileDescriptor listener;
            const int error = listenOn(*address, everywhere, listener);
            if (error == 0) {
                port = portOf(listener);
                listeners.push_back(std::move(listener));
                continue;
            }
            reason = narrow(systemReason(error));
            if (!isMissingKind(error)) refuse("ERR_LISTEN", m_text, reason);
        }
        if (everywhere && !listeners.empty()) break;  // the one for IPv6 takes IPv4 too
    }
    if (listeners.empty()) refuse("ERR_LISTEN", m_text, reason);
    return listeners;
}

std::uint16_t portOf(const FileDescriptor& socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size);
    // Both kinds of address have the port in the same place.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

}  // namespace vexo
