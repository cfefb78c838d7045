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
    // The record of this number; null where it is damaged or has been dropped. The walk goes on behind it.
    RecordPtr goTo(std::uint64_t number);

    // Appends the lines of the record that was given last, as they are streamed.
    void appendLines(std::string& out) const { m_reader.appendLines(out); }
    // What could not be read so far.
    const std::vector<RecordRange>& lost() const { return m_lost; }

private:
    template <typename Read>
    bool tryRead(Read read);

    HistoryReader m_reader;
    const RecordRange m_range;
    RecordPtr m_record;
    bool m_hasBegun = false;
    std::vector<RecordRange> m_lost;
};

}  // namespace vexo

#endif
