// SPDX-License-Identifier: MIT
// The names of one snapshot, each kept once however many records carry it.
#ifndef VEXO_ENGINE_NAMEPOOL_H
#define VEXO_ENGINE_NAMEPOOL_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/Encoding.h"
#include "foundation/SharedString.h"

namespace vexo {

class NamePool {
public:
    // The wide text of `bytes`, shared by all records that carry the same bytes.
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
