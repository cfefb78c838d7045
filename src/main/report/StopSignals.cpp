// SPDX-License-Identifier: MIT
#include "main/report/StopSignals.h"

#include <csignal>
#include <cstdlib>

namespace vexo {
namespace {

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t s_signal = 0;

extern "C" void noteSignal(int signal) {
    s_signal = signal;
    for (const int one : kStopSignals)
        std::signal(one, SIG_DFL);
}

}  // namespace

void noteStopSignals() {
    for (const int signal : kStopSignals) {
        if (std::signal(signal, noteSignal) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

bool wasStopped() {
    return s_signal != 0;
}

void heedStopSignals() {
    if (wasStopped()) throw StoppedBySignal();
}

void endBySignal() {
    std::signal(s_signal, SIG_DFL);
    std::raise(s_signal);
    std::abort();  // the signal is blocked
}

}  // namespace vexo
