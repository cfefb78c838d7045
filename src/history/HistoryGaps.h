// SPDX-License-Identifier: MIT
// Where records are missing in a history.
#ifndef VEXO_HISTORY_HISTORYGAPS_H
#define VEXO_HISTORY_HISTORYGAPS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "history/HistoryFile.h"
#include "history/RecordMark.h"

namespace vexo {

// Two records that follow each other, with more than two and a half intervals between them or of different runs.
struct Gap {
    RecordMark before;
    RecordMark behind;
    // From the one to the other; not negative. By the clock that is never set, or by the wall clock where the system was
    // started in between.
    std::int64_t lengthMs = 0;
    bool isNewRun = false;
};

// Unpacks no record. For use by one thread. The operations throw HistoryException.
class HistoryGaps {
public:
    using Visit = std::function<void(const Gap&)>;

    explicit HistoryGaps(const std::string& path) : m_history(path) {}

    // The first gap that ends behind the record of this number; the last one that ends before it.
    std::optional<Gap> next(std::uint64_t record);
    std::optional<Gap> previous(std::uint64_t record);
    // The gap that ends with the record of this number; the one that begins with it.
    std::optional<Gap> before(std::uint64_t record);
    std::optional<Gap> behind(std::uint64_t record);
    // All gaps between the records of the range, in their order.
    void forEach(RecordRange range, const Visit& visit);

private:
    ReadableHistory m_history;
};

}  // namespace vexo

#endif
