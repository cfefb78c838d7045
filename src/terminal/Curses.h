// SPDX-License-Identifier: MIT
// The curses library with wide characters, and without the macros that would take our names.
#ifndef VEXO_TERMINAL_CURSES_H
#define VEXO_TERMINAL_CURSES_H

#define NCURSES_NOMACROS 1
#define NCURSES_WIDECHAR 1

#include <curses.h>
#include <term.h>

// term.h has no way to leave these out.
#undef lines
#undef columns
#undef buttons
#undef tab
#undef newline

#include <cstdint>
#include <string>

namespace vexo {

// A text of the terminal's description, which is loaded; null where it has none.
inline const char* capabilityOf(const char* name) {
    std::string copy = name;  // the library takes no name that is const
    const char* const value = ::tigetstr(copy.data());
    return reinterpret_cast<std::intptr_t>(value) == -1 ? nullptr : value;
}

}  // namespace vexo

#endif
