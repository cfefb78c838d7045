// SPDX-License-Identifier: MIT
// Screens as text, one for each record.
#ifndef VEXO_MAIN_TOP_BATCH_H
#define VEXO_MAIN_TOP_BATCH_H

#include "main/top/Feed.h"
#include "main/top/TopOptions.h"
#include "sampling/WakeUp.h"
#include "terminal/TerminalSignals.h"

namespace vexo {

// Prints screens on standard output until as many are printed as were asked for, no other will come, or a signal asks for
// the end. `woken` is woken by the feed and the signals. Throws StreamException when standard output cannot be written,
// FeedException when there is nothing to print.
void printBatch(Feed& feed, const TopOptions& options, const WakeUp& woken, const TerminalSignals& signals);

}  // namespace vexo

#endif
