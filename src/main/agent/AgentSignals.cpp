// SPDX-License-Identifier: MIT
#include "main/agent/AgentSignals.h"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

#include "foundation/Exception.h"
#include "foundation/Process.h"

namespace vexo {

AgentSignals::AgentSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGINT, SIGTERM})
        if (!isIgnored(signal)) sigaddset(&held, signal);
    // It asks for no end, so nothing speaks against heeding it below nohup.
    std::signal(SIGHUP, SIG_DFL);
    sigaddset(&held, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &held, nullptr);
    m_arrived = FileDescriptor(::signalfd(-1, &held, SFD_CLOEXEC | SFD_NONBLOCK));
    if (m_arrived.get() < 0) throw ResultException(resultCodeOf(errno));
}

void AgentSignals::take() {
    signalfd_siginfo info{};
    while (::read(m_arrived.get(), &info, sizeof info) == sizeof info) {
        const auto signal = static_cast<int>(info.ssi_signo);
        if (signal == SIGHUP) {
            m_reopen = true;
        } else {
            stop(signal);
        }
    }
}

void AgentSignals::stop(int signal) {
    if (!m_first) {
        m_first = signal;
        m_arrival = Clock::now();
    } else if (signal != *m_first || Clock::now() - m_arrival >= kSignalRepeats) {
        endBySignal(signal);
    }
}

bool AgentSignals::takeReopening() {
    return std::exchange(m_reopen, false);
}

}  // namespace vexo
