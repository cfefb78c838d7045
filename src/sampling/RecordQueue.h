// SPDX-License-Identifier: MIT
// What waits for a sink.
#ifndef VEXO_SAMPLING_RECORDQUEUE_H
#define VEXO_SAMPLING_RECORDQUEUE_H

#include <cstddef>
#include <deque>
#include <vector>

#include "record/Record.h"

namespace vexo {

// Records in the order in which they were put, at most 8 of them and, beyond the first, 64 MiB of memory. Not for use
// by two threads at once.
class RecordQueue {
public:
    static constexpr std::size_t kMostRecords = 8;
    static constexpr std::size_t kMostBytes = std::size_t{64} << 20U;

    // Puts a record behind the others. The oldest ones, if they had to go.
    std::vector<RecordPtr> put(RecordPtr record);
    // The oldest record; null when there is none.
    RecordPtr take();
    bool empty() const { return m_entries.empty(); }
    std::size_t size() const { return m_entries.size(); }

private:
    struct Entry {
        RecordPtr record;
        std::size_t bytes;
    };
    std::deque<Entry> m_entries;
    std::size_t m_bytes = 0;
};

}  // namespace vexo

#endif
