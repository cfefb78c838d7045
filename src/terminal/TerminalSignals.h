// SPDX-License-Identifier: MIT
// The signals that a program on a terminal heeds.
#ifndef VEXO_TERMINAL_TERMINALSIGNALS_H
#define VEXO_TERMINAL_TERMINALSIGNALS_H

#include "sampling/WakeUp.h"

namespace vexo {

// The only one of its process, for use by the main thread. From its making on SIGINT, SIGTERM and SIGHUP ask for the end,
// unless they were ignored; a second one ends the process at once, as does the first when the main thread does nothing for
// two seconds until calmDown(): in either case with the terminal restored. The handlers stay behind.
class TerminalSignals {
public:
    // Wakes `woken` with every signal; borrowed until the process ends.
    explicit TerminalSignals(const WakeUp& woken);

    // SIGWINCH and SIGCONT are heeded too, and SIGTSTP unless it was ignored. What else would end the process does so with the
    // terminal restored; crashes are not up to this.
    void heedTerminal();

    bool stopRequested() const;
    // What is left to do may take its time.
    void calmDown();
    // Whether the signal came since the call before.
    bool takeResize();
    bool takeSuspension();
    bool takeContinuation();
};

// Signals are handled by the thread that made TerminalSignals alone: the calling thread leaves them to it, and so do those
// that it starts.
class SignalsHeld {
public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;
};

// Stops the process as Ctrl-Z does by default. Returns when it goes on.
void stopByJobControl();

}  // namespace vexo

#endif
