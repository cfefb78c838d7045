// SPDX-License-Identifier: MIT
#include "terminal/TerminalRestorer.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>

#include "terminal/Curses.h"

namespace vexo {
namespace {

// Composed beforehand: a handler must not allocate.
struct Noted {
    termios settings{};
    bool hasSettings = false;
    std::string farewell;
};
Noted s_noted;
std::atomic<bool> s_isTaken{false};

// A capability without its delays, such as "$<5/>", which only tputs() understands.
std::string plainCapability(const char* name) {
    const char* const value = capabilityOf(name);
    std::string text = value ? value : "";
    for (std::size_t start = 0; (start = text.find("$<", start)) != std::string::npos;) {
        const std::size_t end = text.find('>', start);
        if (end == std::string::npos) break;
        text.erase(start, end - start + 1);
    }
    return text;
}

}  // namespace

void noteTerminal() {
    s_noted.hasSettings = ::tcgetattr(STDIN_FILENO, &s_noted.settings) == 0;
    // Attributes, colours, the keypad, the cursor, and the screen that was there before.
    s_noted.farewell.clear();
    for (const char* name : {"sgr0", "rmkx", "cnorm", "rmcup"})
        s_noted.farewell += plainCapability(name);
    s_noted.farewell += "\r\n";
}

void setTerminalTaken(bool isTaken) {
    s_isTaken = isTaken;
}

void restoreTerminalNow() {
    if (!s_isTaken.exchange(false)) return;
    // What the terminal has not taken yet would come behind the farewell, or hold it up.
    ::tcflush(STDOUT_FILENO, TCOFLUSH);
    ::tcflow(STDOUT_FILENO, TCOON);
    const int flags = ::fcntl(STDOUT_FILENO, F_GETFL);
    ::fcntl(STDOUT_FILENO, F_SETFL, flags | O_NONBLOCK);
    static_cast<void>(!::write(STDOUT_FILENO, s_noted.farewell.data(), s_noted.farewell.size()));
    ::fcntl(STDOUT_FILENO, F_SETFL, flags);
    if (s_noted.hasSettings) ::tcsetattr(STDIN_FILENO, TCSANOW, &s_noted.settings);
}

}  // namespace vexo
