// SPDX-License-Identifier: MIT
// The signals that the recorder heeds, as something its main thread can wait for.
#ifndef VEXO_MAIN_AGENT_AGENTSIGNALS_H
#define VEXO_MAIN_AGENT_AGENTSIGNALS_H

#include <chrono>
#include <csignal>
#include <optional>

#include "foundation/FileDescriptor.h"

namespace vexo {

// From its making on SIGINT, SIGTERM and SIGHUP are held in the calling thread and in those that it starts. SIGINT and
// SIGTERM that are ignored at this moment stay ignored. For use by the main thread.
class AgentSignals {
public:
    // Throws ResultException when the system has no descriptor left.
    AgentSignals();

    // Becomes readable with a signal.
    int descriptor() const { return m_arrived.get(); }
    // Takes what has arrived. A second SIGINT or SIGTERM ends the process here, as the system does; the same one within
    // 50 ms is the first one's echo.
    void take();

    // Whether SIGINT or SIGTERM came.
    bool stopRequested() const { return m_first.has_value(); }
    // Whether SIGHUP came since the call before.
    bool takeReopening();

private:
    using Clock = std::chrono::steady_clock;

    void stop(int signal);

    FileDescriptor m_arrived;
    std::optional<int> m_first;
    Clock::time_point m_arrival;
    bool m_reopen = false;
};

}  // namespace vexo

#endif
