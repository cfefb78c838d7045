// SPDX-License-Identifier: MIT
#include "terminal/Screen.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "messages/MessageHelper.h"
#include "terminal/Curses.h"
#include "terminal/Keyboard.h"
#include "terminal/Painter.h"
#include "terminal/TerminalRestorer.h"
#include "terminal/TerminalSignals.h"

namespace vexo {
namespace {

template <typename... Arguments>
[[noreturn]] void refuse(const char* key, Arguments... arguments) {
    throw TerminalException(MessageHelper("TOP", "TOP_").getResStr(key, arguments...));
}

// The description of the terminal, loaded for as long as this lives. Curses loads it once more.
class Description {
public:
    // Refuses what cannot show a picture: that needs reaching a place, and an empty screen to begin with.
    Description() {
        if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0) refuse("ERR_NO_TERMINAL");
        const char* const type = std::getenv("TERM");
        int found = 0;
        if (!type || !*type || ::setupterm(nullptr, STDOUT_FILENO, &found) != OK)
            refuse("ERR_TERMINAL_UNKNOWN", type ? type : "");
        if (!capabilityOf("cup") || !capabilityOf("clear")) refuse("ERR_TERMINAL_POOR", type);
    }
    ~Description() { ::del_curterm(::cur_term); }
    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;
};

// Curses on the standard streams.
class Curses {
public:
    Curses() {
        // The window's size, not LINES and COLUMNS, which nobody corrects when it changes.
        ::use_env(false);
        ::use_tioctl(true);
        m_screen = ::newterm(nullptr, stdout, stdin);
        if (!m_screen) refuse("ERR_TERMINAL_POOR", std::getenv("TERM"));
        setTerminalTaken(true);
        ::cbreak();
        ::noecho();
        ::nonl();
        ::intrflush(::stdscr, false);
    }
    ~Curses() {
        leave();
        ::delscreen(m_screen);
    }
    Curses(const Curses&) = delete;
    Curses& operator=(const Curses&) = delete;

    // Gives the terminal back, for good or until the next picture is sent.
    void leave() const {
        // A tmux that was resized keeps rows of what it should forget.
        if (m_wasResized) ::werase(::stdscr);
        // Where no earlier screen comes back, the shell writes its prompt over the line of keys.
        ::wmove(::stdscr, ::getmaxy(::stdscr) - 1, 0);
        ::wclrtoeol(::stdscr);
        ::wrefresh(::stdscr);
        ::endwin();
        setTerminalTaken(false);
    }

    void resize(int rows, int columns) {
        m_wasResized = true;
        ::resizeterm(rows, columns);
    }

private:
    SCREEN* m_screen = nullptr;
    bool m_wasResized = false;
};

}  // namespace

class Screen::Implementation {
public:
    explicit Implementation(bool withColours) : m_painter(withColours) { prepareKeyboard(); }

    Curses& curses() { return m_curses; }
    const Painter& painter() const { return m_painter; }

private:
    Curses m_curses;
    const Painter m_painter;
};

Screen::Screen(bool withColours) {
    {
        const Description description;
        noteTerminal();
    }
    m_implementation = std::make_unique<Implementation>(withColours);
}

Screen::~Screen() = default;

Size Screen::size() const {
    return {::getmaxy(::stdscr), ::getmaxx(::stdscr)};
}

void Screen::paint(const Picture& picture) {
    m_implementation->painter().put(picture);
    ::wrefresh(::stdscr);
}

void Screen::forget() {
    ::clearok(::curscr, true);
}

bool Screen::followSize() {
    winsize window{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_row == 0 || window.ws_col == 0) return false;
    const Size now = size();
    if (window.ws_row == now.rows && window.ws_col == now.columns) return false;
    m_implementation->curses().resize(window.ws_row, window.ws_col);
    return true;
}

void Screen::suspend() {
    m_implementation->curses().leave();
    stopByJobControl();
    resume();
}

void Screen::resume() {
    setTerminalTaken(true);
    ::reset_prog_mode();
    followSize();
    forget();
}

int Screen::descriptor() const {
    return STDIN_FILENO;
}

std::optional<Key> Screen::key() {
    return nextKey();
}

bool Screen::hasGone() const {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (::poll(&input, 1, 0) <= 0) return false;
    if ((input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) return true;
    // At the end of a terminal there is nothing, for good.
    int available = 0;
    return ::ioctl(STDIN_FILENO, FIONREAD, &available) != 0 || available == 0;
}

}  // namespace vexo
