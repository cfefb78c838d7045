// SPDX-License-Identifier: MIT
#include "main/agent/ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "foundation/FileDescriptor.h"

namespace vexo {
namespace {

std::int64_t numberOf(const char* variable) {
    const char* const text = std::getenv(variable);
    return text ? std::strtoll(text, nullptr, 10) : 0;
}

}  // namespace

ServiceManager::ServiceManager() {
    constexpr std::int64_t kHalfOfMicrosPerMilli = 2000;
    if (const char* const address = std::getenv("NOTIFY_SOCKET")) m_address = address;
    const bool meansUs = !std::getenv("WATCHDOG_PID") || numberOf("WATCHDOG_PID") == ::getpid();
    if (meansUs) m_watchdogMs = std::max<std::int64_t>(numberOf("WATCHDOG_USEC") / kHalfOfMicrosPerMilli, 0);
}

void ServiceManager::tell(std::string_view state) const {
    sockaddr_un address{};
    if (m_address.empty() || m_address.size() >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    std::copy(m_address.begin(), m_address.end(), &address.sun_path[0]);
    if (m_address[0] == '@') address.sun_path[0] = '\0';  // a name that is in no file system
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_address.size());
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) return;
    static_cast<void>(::sendto(socket.get(), state.data(), state.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                               reinterpret_cast<const sockaddr*>(&address), size));
}

}  // namespace vexo
