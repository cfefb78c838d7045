// SPDX-License-Identifier: MIT
#include "monitor/StopSignals.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>

namespace vexo {

std::atomic<bool> s_stopped{false};

namespace {

static_assert(std::atomic<bool>::is_always_lock_free, "the flag is set in a signal handler");

constexpr std::array<int, 3> kStopSignals{SIGINT, SIGTERM, SIGHUP};

// The signal's own disposition is the default again by now, so raising it ends the process.
void onStopSignal(int signal) {
    if (s_stopped.exchange(true)) std::raise(signal);
}

// Holds the stop signals back, so that none slips in between a look at the flag and the wait that it should end; the
// wait itself lets them through.
class HeldSignals {
public:
    HeldSignals() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : kStopSignals)
            sigaddset(&held, signal);
        pthread_sigmask(SIG_BLOCK, &held, &m_before);
    }
    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    const sigset_t* before() const { return &m_before; }

private:
    sigset_t m_before{};
};

}  // namespace

void installStopSignals() {
    for (const int signal : kStopSignals) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = onStopSignal;
        // System calls of the engine library go on undisturbed; the waits below are interrupted all the same.
        action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
        sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

void sleepUnlessSignalled(std::int64_t milliseconds) {
    using Clock = std::chrono::steady_clock;
    const HeldSignals held;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (!s_stopped) {
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(end - Clock::now()).count();
        if (left <= 0) return;
        const timespec timeout{left / 1'000'000'000, left % 1'000'000'000};
        if (::ppoll(nullptr, 0, &timeout, held.before()) == 0) return;
    }
}

bool waitForInput() {
    const HeldSignals held;
    while (!s_stopped) {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        // Anything but an interruption is for the read to find out.
        if (::ppoll(&input, 1, nullptr, held.before()) >= 0 || errno != EINTR) return true;
    }
    return false;
}

}  // namespace vexo
