// SPDX-License-Identifier: MIT
// The keys of a terminal, as the curses library tells them.
#ifndef VEXO_TERMINAL_KEYBOARD_H
#define VEXO_TERMINAL_KEYBOARD_H

#include <optional>

#include "view/Key.h"

namespace vexo {

// Curses has been started. Lets it tell function keys as such, also by the sequences that terminals send in practice
// where their description tells of others.
void prepareKeyboard();

// The next key that was pressed; none when there is none.
std::optional<Key> nextKey();

}  // namespace vexo

#endif
