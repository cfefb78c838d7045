// SPDX-License-Identifier: MIT
// Checks that the caller keeps to the interface: order of calls, handle, thread. A violation is a line of the trace that
// begins with MISUSE.
#ifndef XRSIM_CALLERCHECK_H
#define XRSIM_CALLERCHECK_H

#include <cstdint>
#include <thread>

#include "Functions.h"
#include "Statuses.h"
#include "Trace.h"

namespace xrsim {

class CallerCheck {
public:
    explicit CallerCheck(const Trace& trace) : m_trace(&trace) {}

    // Has to come first in every call.
    void calledFrom(Function function, std::thread::id thread);

    // Each of these returns the status that refuses a call out of order, or 0.
    Status start(std::thread::id thread);
    Status stop();
    Status connecting();
    Status disconnecting(std::int32_t h);
    Status handle(Function function, std::int32_t h);

    void connected(std::int32_t h);
    void refused() { m_wasRefused = true; }

    bool isStarted() const { return m_isStarted; }
    void misuse(Function function, std::string_view reason) const { m_trace->misuse(function, reason); }

private:
    static constexpr std::int32_t kNone = 0;

    const Trace* m_trace;
    std::thread::id m_thread;
    bool m_isStarted = false;
    bool m_wasStopped = false;
    bool m_wasRefused = false;       // the last XrConnectServer failed: one XrDisconnect may follow
    bool m_localIsReleased = false;  // XrDisconnect(-1) was called and the local engine not used since
    std::int32_t m_handle = kNone;
};

}  // namespace xrsim

#endif
