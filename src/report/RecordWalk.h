// SPDX-License-Identifier: MIT
// The records of a span one after the other, past those that are damaged.
#ifndef VEXO_REPORT_RECORDWALK_H
#define VEXO_REPORT_RECORDWALK_H

#include <cstdint>
#include <string>
#include <vector>

#include "history/HistoryReader.h"

namespace vexo {

class RecordWalk {
public:
    // Throws HistoryException for a file that is no history, and later where it cannot be read any more.
    RecordWalk(const std::string& path, RecordRange range);

    // The next one that can be read; null behind the last.
    RecordPtr next();
    // The same, unread: appends its lines to `out` as they were streamed. False behind the last.
    bool appendNext(std::string& out);
    // The record of this number; null where it is damaged or has been dropped. What next() gives stays the same.
    RecordPtr goTo(std::uint64_t number);

    // What could not be read so far, in its order.
    const std::vector<RecordRange>& lost() const { return m_lost; }

private:
    template <typename Read>
    void readOn(Read read);
    std::uint64_t passDamage();

    HistoryReader m_reader;
    const RecordRange m_range;
    std::uint64_t m_next;  // the least number that next() may give
    std::vector<RecordRange> m_lost;
};

}  // namespace vexo

#endif
