// SPDX-License-Identifier: MIT
// Keeps SIGPIPE what the program that loaded this library wants it to be.
#ifndef VEXO_COMMON_PIPESIGNAL_H
#define VEXO_COMMON_PIPESIGNAL_H

#include <csignal>

namespace xr {

// Restores what the program does on SIGPIPE: starting the client library makes the whole process ignore it, and a
// monitor that writes into a pipe would not end with the pipe's reader any more.
class PipeActionGuard {
public:
    PipeActionGuard();
    ~PipeActionGuard();
    PipeActionGuard(const PipeActionGuard&) = delete;
    PipeActionGuard& operator=(const PipeActionGuard&) = delete;

private:
    struct sigaction m_action {};
};

// Holds SIGPIPE back from this thread and discards the one that a write to a dead server raises: over TLS the client
// library writes without suppressing it.
class PipeSignalGuard {
public:
    PipeSignalGuard();
    ~PipeSignalGuard();
    PipeSignalGuard(const PipeSignalGuard&) = delete;
    PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;

private:
    sigset_t m_pipe{};
    sigset_t m_previous{};
    bool m_wasPending = false;
};

}  // namespace xr

#endif
