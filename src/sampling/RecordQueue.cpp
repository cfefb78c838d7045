// SPDX-License-Identifier: MIT
#include "sampling/RecordQueue.h"

#include <utility>

namespace vexo {

std::uint64_t RecordQueue::put(RecordPtr record) {
    const std::size_t bytes = record->footprint();
    std::uint64_t dropped = 0;
    while (!m_entries.empty() && (m_entries.size() == kMostRecords || m_bytes + bytes > kMostBytes)) {
        dropOldest();
        ++dropped;
    }
    m_bytes += bytes;
    m_entries.push_back({std::move(record), bytes});
    return dropped;
}

RecordPtr RecordQueue::take() {
    if (m_entries.empty()) return nullptr;
    const RecordPtr record = std::move(m_entries.front().record);
    dropOldest();
    return record;
}

void RecordQueue::dropOldest() {
    m_bytes -= m_entries.front().bytes;
    m_entries.pop_front();
}

}  // namespace vexo
