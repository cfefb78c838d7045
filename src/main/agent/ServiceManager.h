// SPDX-License-Identifier: MIT
// What the service manager is told, where one started the program.
#ifndef VEXO_MAIN_AGENT_SERVICEMANAGER_H
#define VEXO_MAIN_AGENT_SERVICEMANAGER_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vexo {

// Speaks the protocol of sd_notify(3). Without NOTIFY_SOCKET in the environment it does nothing. Never blocks.
class ServiceManager {
public:
    ServiceManager();

    // Sends a state such as "READY=1".
    void tell(std::string_view state) const;
    // How often "WATCHDOG=1" is expected at least, halved to be safe, in milliseconds; 0 when it is not.
    std::int64_t watchdogMs() const { return m_watchdogMs; }

private:
    std::string m_address;
    std::int64_t m_watchdogMs = 0;
};

}  // namespace vexo

#endif
