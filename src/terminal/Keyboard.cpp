// SPDX-License-Identifier: MIT
#include "terminal/Keyboard.h"

#include <utility>

#include "terminal/Curses.h"

namespace vexo {
namespace {

// How long an Esc may be the start of a longer sequence: enough for a slow line, too short to be felt.
constexpr int kEscapeDelayMs = 50;
constexpr wchar_t kControlH = 0x08;
constexpr wchar_t kEscape = 0x1B;
constexpr wchar_t kDelete = 0x7F;

KeyKind functionKey(wint_t code) {
    constexpr std::pair<int, KeyKind> kKeys[] = {
        {KEY_UP,        KeyKind::kUp       },
        {KEY_DOWN,      KeyKind::kDown     },
        {KEY_LEFT,      KeyKind::kLeft     },
        {KEY_RIGHT,     KeyKind::kRight    },
        {KEY_PPAGE,     KeyKind::kPageUp   },
        {KEY_NPAGE,     KeyKind::kPageDown },
        {KEY_HOME,      KeyKind::kHome     },
        {KEY_FIND,      KeyKind::kHome     },
        {KEY_END,       KeyKind::kEnd      },
        {KEY_SELECT,    KeyKind::kEnd      },
        {KEY_ENTER,     KeyKind::kEnter    },
        {KEY_BTAB,      KeyKind::kBackTab  },
        {KEY_BACKSPACE, KeyKind::kBackspace},
        {KEY_DC,        KeyKind::kDelete   },
        {KEY_F(1),      KeyKind::kF1       },
        {KEY_F(3),      KeyKind::kF3       },
        {KEY_F(4),      KeyKind::kF4       },
        {KEY_F(6),      KeyKind::kF6       },
    };
    for (const auto& [known, kind] : kKeys)
        if (code == static_cast<wint_t>(known)) return kind;
    return KeyKind::kOther;
}

Key characterKey(wint_t code) {
    switch (static_cast<wchar_t>(code)) {
        case L'\r':
        case L'\n':
            return {KeyKind::kEnter, 0};
        case L'\t':
            return {KeyKind::kTab, 0};
        case kEscape:
            return {KeyKind::kEscape, 0};
        case kControlH:
        case kDelete:
            return {KeyKind::kBackspace, 0};
        default:
            return {KeyKind::kCharacter, static_cast<char32_t>(code)};
    }
}

}  // namespace

void prepareKeyboard() {
    constexpr std::pair<const char*, int> kSequences[] = {
        {"\033[A",   KEY_UP   },
        {"\033[B",   KEY_DOWN },
        {"\033[C",   KEY_RIGHT},
        {"\033[D",   KEY_LEFT },
        {"\033OA",   KEY_UP   },
        {"\033OB",   KEY_DOWN },
        {"\033OC",   KEY_RIGHT},
        {"\033OD",   KEY_LEFT },
        {"\033[H",   KEY_HOME },
        {"\033OH",   KEY_HOME },
        {"\033[1~",  KEY_HOME },
        {"\033[7~",  KEY_HOME },
        {"\033[F",   KEY_END  },
        {"\033OF",   KEY_END  },
        {"\033[4~",  KEY_END  },
        {"\033[8~",  KEY_END  },
        {"\033[5~",  KEY_PPAGE},
        {"\033[6~",  KEY_NPAGE},
        {"\033[3~",  KEY_DC   },
        {"\033[Z",   KEY_BTAB },
        {"\033OP",   KEY_F(1) },
        {"\033[11~", KEY_F(1) },
        {"\033[[A",  KEY_F(1) },
        {"\033OR",   KEY_F(3) },
        {"\033[13~", KEY_F(3) },
        {"\033[[C",  KEY_F(3) },
        {"\033OS",   KEY_F(4) },
        {"\033[14~", KEY_F(4) },
        {"\033[[D",  KEY_F(4) },
        {"\033[17~", KEY_F(6) },
    };
    ::keypad(::stdscr, true);
    ::nodelay(::stdscr, true);
    ::set_escdelay(kEscapeDelayMs);
    for (const auto& [sequence, key] : kSequences)
        if (::key_defined(sequence) == 0) ::define_key(sequence, key);
}

std::optional<Key> nextKey() {
    for (;;) {
        wint_t code = 0;
        const int kind = ::wget_wch(::stdscr, &code);
        if (kind == ERR) return std::nullopt;
        if (kind == OK) return characterKey(code);
        if (code != static_cast<wint_t>(KEY_RESIZE)) return Key{functionKey(code), 0};
    }
}

}  // namespace vexo
