// SPDX-License-Identifier: MIT
#include "sampling/RecordQueue.h"

#include <utility>

namespace vexo {

std::vector<RecordPtr> RecordQueue::put(RecordPtr record) {
    const std::size_t bytes = record->footprint();
    std::vector<RecordPtr> dropped;
    while (!m_entries.empty() && (m_entries.size() == kMostRecords || m_bytes + bytes > kMostBytes))
        dropped.push_back(take());
    m_bytes += bytes;
    m_entries.push_back({std::move(record), bytes});
    return dropped;
}

RecordPtr RecordQueue::take() {
    if (m_entries.empty()) return nullptr;
    RecordPtr record = std::move(m_entries.front().record);
    m_bytes -= m_entries.front().bytes;
    m_entries.pop_front();
    return record;
}

}  // namespace vexo
