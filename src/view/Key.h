// SPDX-License-Identifier: MIT
// What a user presses, and what the program is asked for by it.
#ifndef VEXO_VIEW_KEY_H
#define VEXO_VIEW_KEY_H

#include <cstdint>
#include <string>

namespace vexo {

enum class KeyKind : std::uint8_t {
    kCharacter,
    kUp,
    kDown,
    kLeft,
    kRight,
    kPageUp,
    kPageDown,
    kHome,
    kEnd,
    kEnter,
    kEscape,
    kTab,
    kBackTab,
    kBackspace,
    kDelete,
    kF1,
    kF3,
    kF4,
    kF6,
    kOther,  // a key that nothing is bound to
};

struct Key {
    KeyKind kind = KeyKind::kOther;
    char32_t character = 0;  // of kCharacter
};

// What a view cannot do itself.
enum class RequestKind : std::uint8_t {
    kNone,
    kQuit,
    kPause,  // or go on
    kSetInterval,
    // Of a recording.
    kNextRecord,
    kPreviousRecord,
    kFirstRecord,
    kLastRecord,
    kJump,
    kNextWait,
    kPreviousWait,
    kNextGap,
    kPreviousGap,
};

struct Request {
    RequestKind kind = RequestKind::kNone;
    std::string text;  // as the user typed it: the interval, or the time to jump to
};

}  // namespace vexo

#endif
