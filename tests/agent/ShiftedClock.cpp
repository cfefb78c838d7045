// SPDX-License-Identifier: MIT
// Preloaded into a program: its wall clock is off by as many seconds as the file VEXO_CLOCK_SHIFT says at the moment.
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    const char* const path = std::getenv("VEXO_CLOCK_SHIFT");
    if (result != 0 || clock != CLOCK_REALTIME || !path) return result;
    long seconds = 0;
    std::ifstream(path) >> seconds;
    time->tv_sec += seconds;
    return 0;
}
