// SPDX-License-Identifier: MIT
#include "PipeSignal.h"

#include <ctime>

namespace xr {

namespace {

bool isPipePending() {
    sigset_t pending{};
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

PipeActionGuard::PipeActionGuard() {
    sigaction(SIGPIPE, nullptr, &m_action);
}

PipeActionGuard::~PipeActionGuard() {
    sigaction(SIGPIPE, &m_action, nullptr);
}

PipeSignalGuard::PipeSignalGuard() {
    sigemptyset(&m_pipe);
    sigaddset(&m_pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &m_pipe, &m_previous);
    m_wasPending = isPipePending();
}

PipeSignalGuard::~PipeSignalGuard() {
    constexpr timespec kNoWait{};
    if (!m_wasPending && isPipePending()) sigtimedwait(&m_pipe, nullptr, &kNoWait);
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
}

}  // namespace xr
