// SPDX-License-Identifier: MIT
#include "record/Names.h"

#include <functional>
#include <stdexcept>
#include <utility>

namespace vexo {

NameId NameTable::add(std::string_view bytes) {
    if (bytes.empty()) return kNoName;
    if (m_slots.size() < 2 * m_names.size()) grow();
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = std::hash<std::string_view>()(bytes) & mask;
    while (m_slots[slot] != kNoName) {
        if (m_names[m_slots[slot]] == bytes) return m_slots[slot];
        slot = (slot + 1) & mask;
    }
    if (m_names.m_bytes.size() + bytes.size() > UINT32_MAX) throw std::length_error("the names of a record");
    m_names.m_bytes.append(bytes);
    m_slots[slot] = static_cast<NameId>(m_names.size());
    m_names.m_starts.push_back(static_cast<std::uint32_t>(m_names.m_bytes.size()));
    return m_slots[slot];
}

Names NameTable::take() {
    m_slots.clear();
    m_names.m_bytes.shrink_to_fit();
    m_names.m_starts.shrink_to_fit();
    return std::exchange(m_names, Names());
}

void NameTable::grow() {
    m_slots.assign(m_slots.empty() ? 64 : 2 * m_slots.size(), kNoName);
    const std::size_t mask = m_slots.size() - 1;
    for (NameId name = 1; name < m_names.size(); ++name) {
        std::size_t slot = std::hash<std::string_view>()(m_names[name]) & mask;
        while (m_slots[slot] != kNoName)
            slot = (slot + 1) & mask;
        m_slots[slot] = name;
    }
}

}  // namespace vexo
