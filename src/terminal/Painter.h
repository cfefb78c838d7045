// SPDX-License-Identifier: MIT
// Puts a picture on the screen of the curses library.
#ifndef VEXO_TERMINAL_PAINTER_H
#define VEXO_TERMINAL_PAINTER_H

#include "view/Picture.h"

namespace vexo {

// Of the environment: what the terminal can be expected to show.
class Alphabet {
public:
    Alphabet();
    // Whether a character can be written as it is. The C locale has ASCII alone, whatever our own encoding.
    bool has(wchar_t character) const;

private:
    bool m_isAscii;
};

class Painter {
public:
    // Curses has been started. Colours are used if `withColours` is set and the terminal has them.
    explicit Painter(bool withColours);

    // Puts the picture on the standard screen, which is not sent yet.
    void put(const Picture& picture) const;

private:
    void putLine(int row, const Line& line) const;
    int putSpan(int row, int column, const Span& span) const;

    const Alphabet m_alphabet;
    bool m_hasColours = false;
};

}  // namespace vexo

#endif
