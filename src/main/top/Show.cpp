// SPDX-License-Identifier: MIT
#include "main/top/Show.h"

#include <poll.h>

#include <utility>

namespace vexo {
namespace {

// How often is looked at what no thread tells of, such as an engine that is silent.
constexpr int kTurnMs = 1000;
constexpr char32_t kControlL = 0x0C;

}  // namespace

Show::Show(Feed& feed, Screen& screen, const TopOptions& options, const WakeUp& woken, TerminalSignals& signals)
    : m_feed(feed), m_screen(screen), m_woken(woken), m_signals(signals), m_viewer(options.view) {
}

void Show::run() {
    while (!m_shallEnd && !m_signals.stopRequested()) {
        paint();
        wait();
        heedSignals();
        takeKeys();
    }
}

void Show::paint() {
    Scene scene = m_feed.look();
    m_viewer.setSituation(std::move(scene.situation));
    if (scene.now != m_now || scene.before != m_before) {
        m_now = std::move(scene.now);
        m_before = std::move(scene.before);
        m_viewer.show(m_now, m_before);
    }
    if (!scene.sentence.empty()) m_viewer.tell(std::move(scene.sentence));
    m_screen.paint(m_viewer.picture(m_screen.size()));
}

void Show::wait() {
    pollfd either[] = {
        {m_screen.descriptor(), POLLIN, 0},
        {m_woken.descriptor(),  POLLIN, 0}
    };
    ::poll(either, 2, kTurnMs);
    m_woken.clear();
    if (either[0].revents != 0 && m_screen.hasGone()) m_shallEnd = true;
}

void Show::heedSignals() {
    if (m_signals.takeSuspension()) m_screen.suspend();
    if (m_signals.takeContinuation()) m_screen.resume();
    if (m_signals.takeResize()) m_screen.followSize();
}

// All that were pressed, so that held keys never pile up behind the painting.
void Show::takeKeys() {
    while (!m_shallEnd) {
        const auto key = m_screen.key();
        if (!key) return;
        heed(*key);
    }
}

void Show::heed(const Key& key) {
    // Also while something is typed: something else wrote to the terminal.
    if (key.kind == KeyKind::kCharacter && key.character == kControlL) return m_screen.forget();
    const Request request = m_viewer.press(key);
    switch (request.kind) {
        case RequestKind::kNone:
            break;
        case RequestKind::kQuit:
            m_shallEnd = true;
            break;
        default:
            m_feed.ask(request);
    }
}

}  // namespace vexo
