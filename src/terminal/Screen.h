// SPDX-License-Identifier: MIT
// The terminal of this process as a full screen: what is painted on it, and the keys that are pressed.
#ifndef VEXO_TERMINAL_SCREEN_H
#define VEXO_TERMINAL_SCREEN_H

#include <memory>
#include <optional>

#include "foundation/Exception.h"
#include "view/Key.h"
#include "view/Picture.h"

namespace vexo {

// The terminal cannot be used. The message says why.
class TerminalException : public Exception {
public:
    using Exception::Exception;
};

// The only one of its process, for use by the main thread. From its making to its end the terminal is a full screen;
// then it is as it was before, also where the process is ended by a signal or a crash (restoreTerminalNow()). A
// terminal that has gone swallows what is painted.
class Screen {
public:
    // Colours are used where the terminal has them. Throws TerminalException for standard streams that are no terminal,
    // and for a terminal that cannot be written to at any place.
    explicit Screen(bool withColours);
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    Size size() const;
    // Sends what differs from the picture before.
    void paint(const Picture& picture);
    // Lets the next paint() send everything: somebody else wrote to the terminal.
    void forget();
    // Takes over the terminal's size after SIGWINCH. Whether it changed.
    bool followSize();
    // Gives the terminal back and stops the process, as job control does. Returns when the process goes on.
    void suspend();
    // Takes the terminal again after the process was stopped by somebody else.
    void resume();

    // Readable when a key is pressed, and when the terminal has gone.
    int descriptor() const;
    // The next key that was pressed; none when there is none. Waits for no key, but up to 50 ms for the rest of one.
    std::optional<Key> key();
    // Whether the terminal has gone: somebody closed its window, or the connection to it.
    bool hasGone() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

}  // namespace vexo

#endif
