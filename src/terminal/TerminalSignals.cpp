// SPDX-License-Identifier: MIT
#include "terminal/TerminalSignals.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <vector>

#include "foundation/Process.h"
#include "terminal/TerminalRestorer.h"

namespace vexo {
namespace {

constexpr unsigned int kPatienceSeconds = 2;
constexpr int kEnding[] = {SIGINT, SIGTERM, SIGHUP};

const WakeUp* s_woken = nullptr;
std::atomic<int> s_first{0};  // the signal that asked for the end
std::atomic<std::int64_t> s_firstNs{0};
std::atomic<bool> s_isResized{false};
std::atomic<bool> s_isSuspended{false};
std::atomic<bool> s_isContinued{false};
static_assert(std::atomic<std::int64_t>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "signal handlers use them");

std::int64_t nowNs() {
    constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosPerSecond + now.tv_nsec;
}

void handle(int signal, void (*action)(int)) {
    struct sigaction handling {};
    handling.sa_handler = action;
    handling.sa_flags = SA_RESTART;
    sigemptyset(&handling.sa_mask);
    ::sigaction(signal, &handling, nullptr);
}

void endNow(int signal) {
    restoreTerminalNow();
    endBySignal(signal);
}

void onEnding(int signal) {
    const int error = errno;
    int none = 0;
    if (s_first.compare_exchange_strong(none, signal)) {
        s_firstNs = nowNs();
        s_woken->wake();
        ::alarm(kPatienceSeconds);
    } else {
        const auto repeats = std::chrono::nanoseconds(kSignalRepeats).count();
        if (signal != none || nowNs() - s_firstNs >= repeats) endNow(signal);
    }
    errno = error;
}

// The main thread is stuck, as in writing to a terminal that takes nothing; or somebody else sent it.
void onAlarm(int signal) {
    endNow(s_first != 0 ? s_first.load() : signal);
}

// Leaves it to the main thread.
template <std::atomic<bool>& flag>
void note(int /*signal*/) {
    const int error = errno;
    flag = true;
    s_woken->wake();
    errno = error;
}

// What ends a process by default, beside what is heeded above and crashes.
std::vector<int> otherEndings() {
    std::vector<int> signals = {SIGQUIT, SIGTRAP, SIGUSR1, SIGUSR2, SIGSTKFLT, SIGVTALRM,
                                SIGPROF, SIGXCPU, SIGIO,   SIGPWR,  SIGSYS};
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal)
        signals.push_back(signal);
    return signals;
}

sigset_t heededSignals() {
    sigset_t all;
    sigemptyset(&all);
    for (const int signal : kEnding)
        sigaddset(&all, signal);
    for (const int signal : {SIGALRM, SIGWINCH, SIGTSTP, SIGCONT})
        sigaddset(&all, signal);
    for (const int signal : otherEndings())
        sigaddset(&all, signal);
    return all;
}

}  // namespace

TerminalSignals::TerminalSignals(const WakeUp& woken) {
    s_woken = &woken;
    handle(SIGALRM, onAlarm);
    for (const int signal : kEnding)
        if (!isIgnored(signal)) handle(signal, onEnding);
}

void TerminalSignals::heedTerminal() {
    handle(SIGWINCH, note<s_isResized>);
    handle(SIGCONT, note<s_isContinued>);
    for (const int signal : otherEndings())
        if (!isIgnored(signal)) handle(signal, endNow);
    if (!isIgnored(SIGTSTP)) handle(SIGTSTP, note<s_isSuspended>);
}

bool TerminalSignals::stopRequested() const {
    return s_first != 0;
}

void TerminalSignals::calmDown() {
    ::alarm(0);
}

bool TerminalSignals::takeResize() {
    return s_isResized.exchange(false);
}

bool TerminalSignals::takeSuspension() {
    return s_isSuspended.exchange(false);
}

bool TerminalSignals::takeContinuation() {
    return s_isContinued.exchange(false);
}

SignalsHeld::SignalsHeld() {
    const sigset_t all = heededSignals();
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

SignalsHeld::~SignalsHeld() {
    const sigset_t all = heededSignals();
    pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
}

void stopByJobControl() {
    std::signal(SIGTSTP, SIG_DFL);
    std::raise(SIGTSTP);
    handle(SIGTSTP, note<s_isSuspended>);
}

}  // namespace vexo
