// SPDX-License-Identifier: MIT
// Raw records as an engine library fills them, and the text in them.
#ifndef VEXO_ENGINE_RAWTEXT_H
#define VEXO_ENGINE_RAWTEXT_H

#include <cstddef>
#include <cstring>
#include <string_view>

namespace vexo {

// Room for one record after the other, with slack behind it: a library may know more of a record than the monitor does
// and fill it all, and the text at a record's end may run on into the slack.
template <typename Record>
struct RawArea {
    Record record{};
    char slack[1024] = {};

    // Empties the area for the next record. The slack is not zeroed again: a text gets there through its first byte.
    void clear() {
        record = {};
        slack[0] = '\0';
    }
};

// The text in a field of `size` bytes: up to its NUL or the end of the field.
inline std::string_view rawText(const char* field, std::size_t size) {
    return {field, ::strnlen(field, size)};
}

template <std::size_t Size>
std::string_view rawText(const char (&field)[Size]) {
    return rawText(field, Size);
}

// The text in the last field of a record: up to its NUL, which may lie in the slack.
template <typename Record, std::size_t Size>
std::string_view lastText(const RawArea<Record>& area, const char (&field)[Size]) {
    static_assert(offsetof(RawArea<Record>, slack) == sizeof(Record), "no gap between record and slack");
    const char* const start = reinterpret_cast<const char*>(&area);
    const auto offset = static_cast<std::size_t>(field - start);
    return rawText(start + offset, sizeof area - offset);
}

}  // namespace vexo

#endif
