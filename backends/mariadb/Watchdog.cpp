// SPDX-License-Identifier: MIT
#include "Watchdog.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

namespace xr::mariadb {

Watchdog::Watchdog() {
    sigset_t all{};
    sigset_t before{};
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        m_thread = std::thread(&Watchdog::run, this);
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Watchdog::~Watchdog() {
    {
        const std::lock_guard lock(m_mutex);
        m_leaving = true;
    }
    m_changed.notify_one();
    m_thread.join();
    if (m_socket >= 0) close(m_socket);
}

void Watchdog::watch(int socket) {
    const std::lock_guard lock(m_mutex);
    if (m_socket >= 0) close(m_socket);
    m_socket = fcntl(socket, F_DUPFD_CLOEXEC, 0);
}

void Watchdog::arm(Clock::time_point end) {
    const std::lock_guard lock(m_mutex);
    m_end = end;
    // A thread that wakes earlier than that finds out by itself.
    if (end < m_sleepsUntil) m_changed.notify_one();
}

void Watchdog::disarm() {
    const std::lock_guard lock(m_mutex);
    m_end.reset();
}

bool Watchdog::hasFired() {
    const std::lock_guard lock(m_mutex);
    return m_fired;
}

void Watchdog::run() {
    std::unique_lock lock(m_mutex);
    while (!m_leaving) {
        if (m_end && *m_end <= Clock::now()) {
            m_end.reset();
            m_fired = m_socket >= 0 && shutdown(m_socket, SHUT_RDWR) == 0;
        }
        m_sleepsUntil = m_end.value_or(Clock::time_point::max());
        if (m_end) {
            m_changed.wait_until(lock, m_sleepsUntil);
        } else {
            m_changed.wait(lock);
        }
    }
}

}  // namespace xr::mariadb
