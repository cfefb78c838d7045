// SPDX-License-Identifier: MIT
// The full screen: paints what the feed gives, and does what keys ask for.
#ifndef VEXO_MAIN_TOP_SHOW_H
#define VEXO_MAIN_TOP_SHOW_H

#include "main/top/Feed.h"
#include "main/top/TopOptions.h"
#include "sampling/WakeUp.h"
#include "terminal/Screen.h"
#include "terminal/TerminalSignals.h"

namespace vexo {

class Show {
public:
    // Borrows all of them. `woken` is woken by the feed and the signals.
    Show(Feed& feed, Screen& screen, const TopOptions& options, const WakeUp& woken, TerminalSignals& signals);

    // Until the user quits, a signal asks for the end, or the terminal has gone. Throws FeedException when there is nothing
    // to show.
    void run();

private:
    void paint();
    void wait();
    void heedSignals();
    void takeKeys();
    void heed(const Key& key);

    Feed& m_feed;
    Screen& m_screen;
    const WakeUp& m_woken;
    TerminalSignals& m_signals;
    Viewer m_viewer;
    RecordPtr m_now;
    RecordPtr m_before;
    bool m_shallEnd = false;
};

}  // namespace vexo

#endif
