// SPDX-License-Identifier: MIT
#include "record/SafeText.h"

#include <array>
#include <cstdio>

#include "Utf8.h"

namespace vexo {

namespace {

bool isControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

// Zero-width characters, those that set the direction of text, and those that end a line.
bool isInvisible(char32_t code) {
    return code == 0xAD || code == 0x61C || code == 0x180E || (code >= 0x200B && code <= 0x200F) ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF ||
           (code >= 0xFFF9 && code <= 0xFFFB) || (code >= 0xE0000 && code <= 0xE007F);
}

std::string byteEscape(unsigned value) {
    std::array<char, 8> escape;
    const int size = std::snprintf(escape.data(), escape.size(), "\\x%02x", value);
    return {escape.data(), static_cast<std::size_t>(size)};
}

std::string characterEscape(char32_t code) {
    std::array<char, 16> escape;
    const int size = std::snprintf(escape.data(), escape.size(), "\\u{%x}", static_cast<unsigned>(code));
    return {escape.data(), static_cast<std::size_t>(size)};
}

}  // namespace

std::string safeText(std::string_view bytes) {
    std::string safe;
    safe.reserve(bytes.size());
    while (!bytes.empty()) {
        const utf8::Character character = utf8::firstCharacter(bytes);
        const std::size_t size = character.size == 0 ? 1 : character.size;
        if (character.size == 0) {
            safe += byteEscape(static_cast<unsigned char>(bytes.front()));
        } else if (isControl(character.code)) {
            safe += byteEscape(character.code);
        } else if (isInvisible(character.code)) {
            safe += characterEscape(character.code);
        } else {
            safe.append(bytes.substr(0, size));
        }
        bytes.remove_prefix(size);
    }
    return safe;
}

}  // namespace vexo
