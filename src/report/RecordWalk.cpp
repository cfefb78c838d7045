// SPDX-License-Identifier: MIT
#include "report/RecordWalk.h"

#include <algorithm>

namespace vexo {

RecordWalk::RecordWalk(const std::string& path, RecordRange range) : m_reader(path), m_range(range) {
}

// Whether a record, or the end, was read; otherwise the damaged ones were passed.
template <typename Read>
bool RecordWalk::tryRead(Read read) {
    try {
        m_record = read();
        m_hasBegun = true;
        return true;
    } catch (const HistoryException&) {
        m_record = nullptr;
        m_hasBegun = true;
        const RecordRange damaged = m_reader.passDamage();
        const bool isKnown = std::any_of(m_lost.begin(), m_lost.end(),
                                         [&](const RecordRange& lost) { return lost.first == damaged.first; });
        if (!isKnown) m_lost.push_back(damaged);
        return false;
    }
}

RecordPtr RecordWalk::next() {
    while (!tryRead([this] { return m_hasBegun ? m_reader.next() : m_reader.goTo(m_range.first); })) {
    }
    return m_record && m_record->number <= m_range.last ? m_record : nullptr;
}

RecordPtr RecordWalk::goTo(std::uint64_t number) {
    tryRead([&] { return m_reader.goTo(number); });
    return m_record && m_record->number == number ? m_record : nullptr;
}

}  // namespace vexo
