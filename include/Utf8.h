// SPDX-License-Identifier: MIT
// UTF-8, decoded strictly and encoded one character at a time, for the monitor and the engine libraries alike.
#ifndef VEXO_UTF8_H
#define VEXO_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace utf8 {

// `content` without the byte order mark that some editors write at the start of a file.
inline std::string_view withoutByteOrderMark(std::string_view content) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const bool marked = content.substr(0, kByteOrderMark.size()) == kByteOrderMark;
    return content.substr(marked ? kByteOrderMark.size() : 0);
}

// A decoded character and the bytes it takes; no bytes for a sequence that is not UTF-8.
struct Character {
    char32_t code = 0;
    std::size_t size = 0;
};

inline bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The character at the start of `text`, which must not be empty. Refuses cut and overlong sequences, surrogates and
// what lies beyond U+10FFFF.
inline Character firstCharacter(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80) return {lead, 1};
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (size == 0 || lead > 0xF4 || text.size() < size) return {};
    char32_t code = lead & (0x7FU >> size);
    for (const char byte : text.substr(1, size - 1)) {
        if (!isContinuation(byte)) return {};
        code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    constexpr char32_t kSmallest[] = {0x80, 0x800, 0x10000};  // of 2, 3 and 4 bytes
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kSmallest[size - 2] || code > 0x10FFFF || surrogate) return {};
    return {code, size};
}

// Appends a character, which is none of the surrogates.
inline void append(std::string& text, char32_t code) {
    constexpr char32_t kLowBits = 0x3F;
    const auto put = [&text](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (code < 0x80) return put(code);
    if (code < 0x800) {
        put(0xC0 | code >> 6U);
    } else {
        if (code < 0x10000) {
            put(0xE0 | code >> 12U);
        } else {
            put(0xF0 | code >> 18U);
            put(0x80 | (code >> 12U & kLowBits));
        }
        put(0x80 | (code >> 6U & kLowBits));
    }
    put(0x80 | (code & kLowBits));
}

}  // namespace utf8

#endif
