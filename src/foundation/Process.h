// SPDX-License-Identifier: MIT
// What every program of ours does about its process: how it starts, and how a signal ends it.
#ifndef VEXO_FOUNDATION_PROCESS_H
#define VEXO_FOUNDATION_PROCESS_H

#include <chrono>

namespace vexo {

// A signal that comes again this soon was sent once: `timeout`, for one, signals its child and then its group.
inline constexpr auto kSignalRepeats = std::chrono::milliseconds(50);

// To be called first, on the main thread. Standard descriptors that are closed are occupied, text takes the encoding of
// the environment, the thread keeps its locale, and a reader that has gone and a file-size limit are errors of a write
// like a full disk, rather than signals.
void prepareProcess();

// Whether the process ignores `signal`.
bool isIgnored(int signal);

// Ends the process by `signal`, one of those that do so by default, on the calling thread and at once; the parent sees by
// which one. For use in signal handlers too.
[[noreturn]] void endBySignal(int signal);

}  // namespace vexo

#endif
