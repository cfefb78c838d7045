// SPDX-License-Identifier: MIT
#include "terminal/TerminalRestorer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>

#include "terminal/Curses.h"

namespace vexo {
namespace {

// Composed beforehand: a handler must not allocate.
struct Noted {
    termios settings{};
    bool hasSettings = false;
    std::string farewell;
    // Standard error, where it is a terminal, and what stands in for it.
    int error = -1;
    int standIn = -1;
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

// Both are fit for a signal handler.
void holdErrors() {
    if (s_noted.standIn >= 0) ::dup2(s_noted.standIn, STDERR_FILENO);
}

void releaseErrors() {
    if (s_noted.standIn < 0) return;
    ::dup2(s_noted.error, STDERR_FILENO);
    std::array<char, 4096> some;
    ::lseek(s_noted.standIn, 0, SEEK_SET);
    for (ssize_t size = 0; (size = ::read(s_noted.standIn, some.data(), some.size())) > 0;)
        static_cast<void>(!::write(STDERR_FILENO, some.data(), static_cast<std::size_t>(size)));
    static_cast<void>(!::ftruncate(s_noted.standIn, 0));
    ::lseek(s_noted.standIn, 0, SEEK_SET);
}

}  // namespace

void noteTerminal() {
    s_noted.hasSettings = ::tcgetattr(STDIN_FILENO, &s_noted.settings) == 0;
    // Attributes, colours, the keypad, the cursor, and the screen that was there before.
    s_noted.farewell.clear();
    for (const char* name : {"sgr0", "rmkx", "cnorm", "rmcup"})
        s_noted.farewell += plainCapability(name);
    s_noted.farewell += "\r\n";
    if (s_noted.standIn >= 0 || ::isatty(STDERR_FILENO) == 0) return;
    s_noted.error = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    if (s_noted.error >= 0) s_noted.standIn = ::memfd_create("stderr", MFD_CLOEXEC);
}

void setTerminalTaken(bool isTaken) {
    if (s_isTaken.exchange(isTaken) == isTaken) return;
    if (isTaken) {
        holdErrors();
    } else {
        releaseErrors();
    }
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
    releaseErrors();
}

}  // namespace vexo
