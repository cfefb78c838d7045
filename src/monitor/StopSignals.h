// SPDX-License-Identifier: MIT
// Ending a run: the flag that asks for it from inside, the signals that do from outside, and waits that they cut short.
#ifndef VEXO_MONITOR_STOPSIGNALS_H
#define VEXO_MONITOR_STOPSIGNALS_H

#include <atomic>
#include <cstdint>

namespace vexo {

// Set once by whoever decides that the run ends, the keyboard thread or the main thread; never set back. Signals leave
// it alone: being signalled is another fact, and neither of the two makes the other one worse.
extern std::atomic<bool> s_stopped;

// From here on the first SIGINT, SIGTERM or SIGHUP only makes wasSignalled() true; the calling thread, and those that
// it or the engine library starts from here on, never see it. The next one ends the process as the system does. A
// signal that is ignored at this moment stays ignored. Throws ResultException with a text when the system has no room
// for what this takes.
void holdStopSignals();

bool wasSignalled();

// Whether the run is to end, by the flag or by a signal.
inline bool stopRequested() {
    return s_stopped || wasSignalled();
}

// Sleeps for `milliseconds`, until a signal comes. The flag is not noticed.
void sleepUnlessSignalled(std::int64_t milliseconds);

// Whether the hang-up of the terminal, which a read or a write has just met with, came or comes as a signal too. Both
// happen nearly at once, in either order, so this waits a while for the signal.
bool hangUpIsSignalled();

// Waits until `descriptor` can be read; false as soon as a signal has come.
bool waitUnlessSignalled(int descriptor);

}  // namespace vexo

#endif
