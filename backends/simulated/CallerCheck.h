// SPDX-License-Identifier: MIT
// Watches whether the caller keeps to the interface: the order of calls, its handle, its thread. What it does wrong goes
// into the trace as a line that begins with MISUSE.
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

    // Every call passes here first.
    void calledFrom(Function function, std::thread::id thread);

    // Each of these gives the status that a call gets for being out of place, 0 for a call that may go on.
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
