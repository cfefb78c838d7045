// SPDX-License-Identifier: MIT
// Text in the engine's records: single bytes up to a NUL or to the end of the field.
#ifndef XRSIM_TEXTFIELD_H
#define XRSIM_TEXTFIELD_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace xrsim {

// Copies what fits and ends it with a NUL where one fits. The rest of the field stays as the caller left it.
inline void putText(char* field, std::size_t size, std::string_view text) {
    const std::size_t length = std::min(size, text.size());
    std::memcpy(field, text.data(), length);
    if (length < size) field[length] = '\0';
}

template <std::size_t Size>
void putText(char (&field)[Size], std::string_view text) {
    putText(field, Size, text);
}

inline std::string_view textOf(const char* field, std::size_t size) {
    return {field, strnlen(field, size)};
}

template <std::size_t Size>
std::string_view textOf(const char (&field)[Size]) {
    return textOf(field, Size);
}

}  // namespace xrsim

#endif
