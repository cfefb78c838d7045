// SPDX-License-Identifier: MIT
#include "monitor/StopSignals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <limits>

#include "foundation/Exception.h"
#include "foundation/NamedThread.h"
#include "foundation/Process.h"
#include "messages/MessageHelper.h"

namespace vexo {

std::atomic<bool> s_stopped{false};

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array<int, 3> kStopSignals{SIGINT, SIGTERM, SIGHUP};

// A shell that is told of a closed terminal passes it on as soon as it gets to run.
constexpr std::int64_t kHangUpMs = 2000;

// The thread that waits for signals has next to nothing on its stack; room enough for the sanitizers.
constexpr std::size_t kStackBytes = 1 << 18;

std::atomic<bool> s_signalled{false};
int s_wakeUp = -1;  // a semaphore; becomes readable with the first signal, and stays so
sigset_t s_held;
std::atomic<pthread_t> s_watcher;

void post(int semaphore) {
    constexpr std::uint64_t kOne = 1;
    static_cast<void>(!::write(semaphore, &kOne, sizeof kOne));
}

void take(int semaphore) {
    std::uint64_t one = 0;
    while (::read(semaphore, &one, sizeof one) < 0 && errno == EINTR) {
    }
}

siginfo_t waitForSignal() {
    siginfo_t signal{};
    while (::sigwaitinfo(&s_held, &signal) < 0) {
    }
    return signal;
}

// Whether `next` asks again, rather than being the first one's echo. When a terminal closes, the shell passes SIGHUP on
// and the system sends it once more as the shell ends.
bool asksAgain(const siginfo_t& first, const siginfo_t& next, Clock::duration since) {
    if (next.si_signo != first.si_signo) return true;
    const bool hangUp = next.si_signo == SIGHUP && next.si_code == SI_KERNEL;
    return !hangUp && since >= kSignalRepeats;
}

// Runs on a thread that the engine library started while it was being loaded, before the signals were held.
void passOn(int signal) {
    const int error = errno;
    pthread_kill(s_watcher, signal);
    errno = error;
}

void passSignalsOn() {
    struct sigaction action {};
    action.sa_handler = passOn;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : kStopSignals)
        if (sigismember(&s_held, signal) == 1) ::sigaction(signal, &action, nullptr);
}

void watch(void* /*arguments*/) {
    s_watcher = pthread_self();
    passSignalsOn();
    post(s_wakeUp);  // ready
    const siginfo_t first = waitForSignal();
    const auto arrival = Clock::now();
    s_signalled = true;
    post(s_wakeUp);
    for (;;) {
        const siginfo_t next = waitForSignal();
        if (asksAgain(first, next, Clock::now() - arrival)) endBySignal(next.si_signo);
    }
}

// The stop signals that are not ignored.
sigset_t heededSignals() {
    sigset_t heeded;
    sigemptyset(&heeded);
    for (const int signal : kStopSignals)
        if (!isIgnored(signal)) sigaddset(&heeded, signal);
    return heeded;
}

}  // namespace

void holdStopSignals() {
    const MessageHelper messages("VEXO", "VEXO_");
    const auto refuse = [&messages](ResultCode code) {
        throw ResultException(code, messages.getResStr("ERR_SIGNAL_THREAD", code));
    };
    s_wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_SEMAPHORE);
    if (s_wakeUp < 0) refuse(resultCodeOf(errno));

    s_held = heededSignals();
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &s_held, &before);
    const ResultCode refused = NamedThread(L"VexoSignalThread").start(watch, nullptr, kStackBytes);
    // Not before the thread is ready: until then a thread of the library's would let a signal kill the process.
    if (refused == kSuccess) return take(s_wakeUp);
    // Nobody would ever see them.
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    refuse(refused);
}

bool wasSignalled() {
    return s_signalled;
}

void sleepUnlessSignalled(std::int64_t milliseconds) {
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (!s_signalled) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return;
        pollfd signalled{s_wakeUp, POLLIN, 0};
        ::poll(&signalled, 1, static_cast<int>(std::min<std::int64_t>(left, std::numeric_limits<int>::max())));
    }
}

bool hangUpIsSignalled() {
    sleepUnlessSignalled(kHangUpMs);
    return wasSignalled();
}

bool waitUnlessSignalled(int descriptor) {
    pollfd either[] = {
        {descriptor, POLLIN, 0},
        {s_wakeUp,   POLLIN, 0}
    };
    while (!s_signalled) {
        // Whatever else is the matter with the descriptor is for the read to find out.
        if (::poll(either, 2, -1) > 0 && either[0].revents != 0 && !s_signalled) return true;
    }
    return false;
}

}  // namespace vexo
