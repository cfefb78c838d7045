// SPDX-License-Identifier: MIT
// Raw records as an engine library fills them, and the text in them.
#ifndef VEXO_ENGINE_RAWTEXT_H
#define VEXO_ENGINE_RAWTEXT_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/Encoding.h"
#include "foundation/SharedString.h"

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

// Wide names of one snapshot, each kept once however many records carry it.
class NamePool {
public:
    SharedString get(std::string_view bytes) {
        const auto known = m_names.find(bytes);
        if (known != m_names.end()) return known->second.name;
        auto key = std::make_unique<std::string>(bytes);
        const std::string_view stable = *key;
        return m_names.emplace(stable, Entry{std::move(key), widen(bytes)}).first->second.name;
    }

private:
    struct Entry {
        std::unique_ptr<std::string> bytes;
        SharedString name;
    };

    std::unordered_map<std::string_view, Entry> m_names;
};

}  // namespace vexo

#endif
