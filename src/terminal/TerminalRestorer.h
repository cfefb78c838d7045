// SPDX-License-Identifier: MIT
// Gives the terminal back as it was, also from a signal handler.
#ifndef VEXO_TERMINAL_TERMINALRESTORER_H
#define VEXO_TERMINAL_TERMINALRESTORER_H

#include <string>

namespace vexo {

// Notes the settings of the terminal, and what has to be sent to leave the full screen. Curses has not been started, but
// the description of the terminal is loaded.
void noteTerminal();
// While it is off, restoreTerminalNow() does nothing: the terminal is as it was. While it is on, what an engine library
// writes on standard error does not reach the terminal, but is kept, and written when it is off again.
void setTerminalTaken(bool isTaken);
// Restores the noted settings, once. To be called in a signal handler, on any thread. Does not wait for a terminal that is
// stopped.
void restoreTerminalNow();

}  // namespace vexo

#endif
