// SPDX-License-Identifier: MIT
// Bounds how long a call may wait for its server. The client library's own time-outs start anew with every byte, and
// one that trickles in now and then keeps a call waiting for ever.
#ifndef VEXO_MARIADB_WATCHDOG_H
#define VEXO_MARIADB_WATCHDOG_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace xr::mariadb {

// Shuts a socket down when its time is up, which ends every wait for it: reading, writing and the TLS handshake.
class Watchdog {
public:
    using Clock = std::chrono::steady_clock;

    // Starts the thread that watches; it takes no signal of the program's.
    Watchdog();
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    // The socket that is shut down in the end. Keeps a duplicate, so that no other file can take its place.
    void watch(int socket);

    // Between these two, the socket is shut down as soon as the end has come.
    void arm(Clock::time_point end);
    void disarm();

    // Whether a socket was shut down.
    bool hasFired();

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Clock::time_point> m_end;
    Clock::time_point m_sleepsUntil = Clock::time_point::max();
    int m_socket = -1;
    bool m_fired = false;
    bool m_leaving = false;
    std::thread m_thread;
};

// Keeps a watchdog armed.
class WatchdogGuard {
public:
    WatchdogGuard(Watchdog& watchdog, Watchdog::Clock::time_point end) : m_watchdog(watchdog) { m_watchdog.arm(end); }
    ~WatchdogGuard() { m_watchdog.disarm(); }
    WatchdogGuard(const WatchdogGuard&) = delete;
    WatchdogGuard& operator=(const WatchdogGuard&) = delete;

private:
    Watchdog& m_watchdog;
};

}  // namespace xr::mariadb

#endif
