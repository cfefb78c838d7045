// SPDX-License-Identifier: MIT
// Ending a run from outside: the flag that asks for it, the signals that set it, and waits that it cuts short.
#ifndef VEXO_MONITOR_STOPSIGNALS_H
#define VEXO_MONITOR_STOPSIGNALS_H

#include <atomic>
#include <cstdint>

namespace vexo {

// Set once by whoever decides that the run ends, the keyboard thread, the main thread or a signal; never set back.
extern std::atomic<bool> s_stopped;

// Lets SIGINT, SIGTERM and SIGHUP set the flag instead of ending the process; the next one of them ends it as the
// system does. A signal that was ignored when the program started stays ignored.
void installStopSignals();

// Sleeps, at most for `milliseconds`. A signal ends the wait at once, other stops are not noticed.
void sleepUnlessSignalled(std::int64_t milliseconds);

// Waits until standard input can be read; false as soon as a signal asks to stop.
bool waitForInput();

}  // namespace vexo

#endif
