// SPDX-License-Identifier: MIT
// Raw records as an engine library fills them, and the text in them.
#ifndef VEXO_ENGINE_RAWTEXT_H
#define VEXO_ENGINE_RAWTEXT_H

#include <cstddef>
#include <cstring>
#include <string_view>

namespace vexo {

// Room for one record, zeroed, with slack behind it: a library may know more of a record than the monitor does and
// fill it all.
template <typename Record>
struct RawArea {
    Record record{};
    std::byte slack[1024];  // not zeroed; nothing reads it
};

// The text in a field of `size` bytes: up to its NUL or the end of the field.
inline std::string_view rawText(const char* field, std::size_t size) {
    return {field, ::strnlen(field, size)};
}

template <std::size_t Size>
std::string_view rawText(const char (&field)[Size]) {
    return rawText(field, Size);
}

}  // namespace vexo

#endif
