// SPDX-License-Identifier: MIT
// The texts of one record, each kept once however many items carry it.
#ifndef VEXO_RECORD_NAMES_H
#define VEXO_RECORD_NAMES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexo {

// A text of a record, by its place among the record's names. The empty text is always 0.
using NameId = std::uint32_t;
inline constexpr NameId kNoName = 0;

// Texts are bytes, exactly as the engine gave them.
class Names {
public:
    std::string_view operator[](NameId name) const {
        return std::string_view(m_bytes).substr(m_starts[name], m_starts[name + 1] - m_starts[name]);
    }
    std::size_t size() const { return m_starts.size() - 1; }
    // Bytes of memory in use.
    std::size_t footprint() const { return m_bytes.capacity() + m_starts.capacity() * sizeof(std::uint32_t); }

private:
    friend class NameTable;
    std::string m_bytes;
    std::vector<std::uint32_t> m_starts{0, 0};  // of each name, and the end of the last
};

// Builds the names of a record.
class NameTable {
public:
    // The name of these bytes, the same one for the same bytes. Throws std::length_error beyond 4 GB of texts.
    NameId add(std::string_view bytes);
    std::string_view operator[](NameId name) const { return m_names[name]; }
    // The names; the table is used up.
    Names take();

private:
    void grow();

    Names m_names;
    std::vector<NameId> m_slots;  // open addressing by hash; kNoName is a free slot
};

}  // namespace vexo

#endif
