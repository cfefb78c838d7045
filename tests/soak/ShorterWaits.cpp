// SPDX-License-Identifier: MIT
// Preloaded into the monitor: every wait takes a thousandth of its time and the monotonic clock runs as much faster, so
// that a soak sees weeks in minutes.
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

constexpr long kNanoseconds = 1'000'000'000;

timespec shortened(const timespec& time) {
    const long nanoseconds = time.tv_sec * (kNanoseconds / 1000) + time.tv_nsec / 1000;
    return {nanoseconds / kNanoseconds, nanoseconds % kNanoseconds};
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && clock == CLOCK_MONOTONIC) {
        const long nanoseconds = time->tv_nsec * 1000;
        *time = {time->tv_sec * 1000 + nanoseconds / kNanoseconds, nanoseconds % kNanoseconds};
    }
    return result;
}

extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left) {
    const timespec shorter = flags == 0 ? shortened(*time) : *time;
    return ::syscall(SYS_clock_nanosleep, clock, flags, &shorter, left) == 0 ? 0 : errno;
}

extern "C" int nanosleep(const timespec* time, timespec* left) {
    const timespec shorter = shortened(*time);
    return static_cast<int>(::syscall(SYS_nanosleep, &shorter, left));
}

extern "C" int ppoll(pollfd* descriptors, nfds_t count, const timespec* time, const sigset_t* signals) {
    timespec shorter = time ? shortened(*time) : timespec{};
    return static_cast<int>(::syscall(SYS_ppoll, descriptors, count, time ? &shorter : nullptr, signals, _NSIG / 8));
}

extern "C" int poll(pollfd* descriptors, nfds_t count, int milliseconds) {
    const timespec time{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    return ::ppoll(descriptors, count, milliseconds < 0 ? nullptr : &time, nullptr);
}
