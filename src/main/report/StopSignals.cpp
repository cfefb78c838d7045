// SPDX-License-Identifier: MIT
#include "main/report/StopSignals.h"

#include <csignal>

#include "foundation/Process.h"

namespace vexo {
namespace {

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t s_signal = 0;

extern "C" void noteSignal(int signal) {
    s_signal = signal;
    for (const int one : kStopSignals)
        std::signal(one, endBySignal);
}

}  // namespace

void noteStopSignals() {
    for (const int signal : kStopSignals)
        if (!isIgnored(signal)) std::signal(signal, noteSignal);
}

bool wasStopped() {
    return s_signal != 0;
}

void heedStopSignals() {
    if (wasStopped()) throw StoppedBySignal();
}

void endBySignal() {
    endBySignal(s_signal);
}

}  // namespace vexo
