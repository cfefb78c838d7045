// SPDX-License-Identifier: MIT
// What a data call fixes: which items exist, and the round that their contents are computed from.
#ifndef XRSIM_SNAPSHOT_H
#define XRSIM_SNAPSHOT_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Life.h"

namespace xrsim {

// A written-out item by its place in the scenario, or a generated one by its number.
struct Item {
    std::uint32_t number = 0;
    bool generated = false;

    bool operator==(const Item& other) const { return number == other.number && generated == other.generated; }
    bool operator!=(const Item& other) const { return !(*this == other); }
};

// Written-out items come first, in the scenario's order; generated ones follow.
class Snapshot {
public:
    Snapshot() = default;
    Snapshot(Round round, std::vector<std::uint32_t> written, std::uint32_t firstGenerated, std::uint32_t generated)
        : m_held(true),
          m_round(round),
          m_written(std::move(written)),
          m_firstGenerated(firstGenerated),
          m_generated(generated) {}

    bool isHeld() const { return m_held; }
    Round round() const { return m_round; }
    std::uint32_t count() const { return static_cast<std::uint32_t>(m_written.size()) + m_generated; }
    const std::vector<std::uint32_t>& written() const { return m_written; }

    std::optional<Item> at(std::uint32_t index) const {
        if (index < m_written.size()) return Item{m_written[index], false};
        if (index >= count()) return std::nullopt;
        return Item{m_firstGenerated + (index - static_cast<std::uint32_t>(m_written.size())), true};
    }

    bool holds(Item item) const {
        if (!m_vanished.empty() && std::find(m_vanished.begin(), m_vanished.end(), item) != m_vanished.end()) {
            return false;
        }
        if (item.generated) return item.number - m_firstGenerated < m_generated;
        return std::binary_search(m_written.begin(), m_written.end(), item.number);
    }

    // The item is still enumerated, but calls about it find it gone.
    void letVanish(Item item) {
        m_vanished.push_back(item);
        if (m_handlesOf == item) m_handlesOf.reset();
    }

    // The handle calls that follow are about this item; `key` names it in them.
    void countHandlesOf(Item item, std::string_view key) {
        m_handlesOf = item;
        m_handlesKey = key;
    }

    // The item whose handles were counted last, when it is the one called `key`.
    std::optional<Item> withHandles(std::string_view key) const {
        return key == m_handlesKey ? m_handlesOf : std::nullopt;
    }

    // The item enumerated last. The caller asks about it next, so it tells items of the same name apart.
    std::optional<Item> lastServed;

private:
    bool m_held = false;
    Round m_round = 0;
    std::vector<std::uint32_t> m_written;
    std::uint32_t m_firstGenerated = 0;
    std::uint32_t m_generated = 0;
    std::vector<Item> m_vanished;
    std::optional<Item> m_handlesOf;
    std::string m_handlesKey;
};

}  // namespace xrsim

#endif
