// SPDX-License-Identifier: MIT
// What the mains of the programs beside the monitor have in common.
#ifndef VEXO_MAIN_COMPANION_COMPANION_H
#define VEXO_MAIN_COMPANION_COMPANION_H

#include <vector>

#include "foundation/String.h"

namespace vexo {

// Exit statuses.
inline constexpr int kEnded = 0;
inline constexpr int kRefused = 1;     // the command line, the settings, or a file that cannot be written
inline constexpr int kUnreadable = 2;  // a history, or an empty one

// Writes texts to standard output, each with a line end. Throws an Exception with a message where that fails.
void printLines(const std::vector<String>& lines);

// Calls `run`, which gives the exit status, and gives kRefused when that throws, with the reason on standard error. `name` is
// the program's, such as "vexo-top".
int runCompanion(const char* name, int (*run)(int argc, char** argv), int argc, char** argv);

}  // namespace vexo

#endif
