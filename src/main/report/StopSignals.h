// SPDX-License-Identifier: MIT
// Signals that end the program: what it has begun to write is removed first.
#ifndef VEXO_MAIN_REPORT_STOPSIGNALS_H
#define VEXO_MAIN_REPORT_STOPSIGNALS_H

namespace vexo {

// Unwinds the program. It is no Exception, because there is nothing to tell.
struct StoppedBySignal {};

// From here on SIGINT, SIGTERM and SIGHUP are noted, unless they were ignored. A second one ends the process at once.
void noteStopSignals();
bool wasStopped();
// Throws StoppedBySignal where one of them has come.
void heedStopSignals();
// Ends the process by the signal that has come.
[[noreturn]] void endBySignal();

}  // namespace vexo

#endif
