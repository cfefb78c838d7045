// SPDX-License-Identifier: MIT
#include "report/RecordWalk.h"

#include <algorithm>

namespace vexo {

RecordWalk::RecordWalk(const std::string& path, RecordRange range)
    : m_reader(path), m_range(range), m_next(range.first) {
}

// Reads at m_next, or behind what is damaged there.
template <typename Read>
void RecordWalk::readOn(Read read) {
    while (m_next <= m_range.last) {
        try {
            return read();
        } catch (const HistoryException&) {
            m_next = std::max(m_next, passDamage()) + 1;
        }
    }
}

// Gives the number of the last record that cannot be read.
std::uint64_t RecordWalk::passDamage() {
    const RecordRange damaged = m_reader.passDamage();
    const auto holds = [](const RecordRange& one, const RecordRange& other) {
        return one.first <= other.first && other.last <= one.last;
    };
    // Who jumps may have met the end of it before.
    m_lost.erase(
        std::remove_if(m_lost.begin(), m_lost.end(), [&](const RecordRange& lost) { return holds(damaged, lost); }),
        m_lost.end());
    const auto place =
        std::find_if(m_lost.begin(), m_lost.end(), [&](const RecordRange& lost) { return lost.last >= damaged.last; });
    if (place == m_lost.end() || !holds(*place, damaged)) m_lost.insert(place, damaged);
    return damaged.last;
}

RecordPtr RecordWalk::next() {
    RecordPtr record;
    readOn([&] { record = m_reader.goTo(m_next); });
    if (!record || record->number > m_range.last) return nullptr;
    m_next = record->number + 1;
    return record;
}

bool RecordWalk::appendNext(std::string& out) {
    const std::size_t before = out.size();
    std::uint64_t number = 0;
    readOn([&] { number = m_reader.appendLines(m_next, out); });
    if (number > m_range.last) out.resize(before);
    if (number == 0 || number > m_range.last) return false;
    m_next = number + 1;
    return true;
}

RecordPtr RecordWalk::goTo(std::uint64_t number) {
    try {
        const RecordPtr record = m_reader.goTo(number);
        return record && record->number == number ? record : nullptr;
    } catch (const HistoryException&) {
        passDamage();
        return nullptr;
    }
}

}  // namespace vexo
