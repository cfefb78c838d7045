// SPDX-License-Identifier: MIT
// Where waits begin in a history.
#ifndef VEXO_HISTORY_HISTORYWAITS_H
#define VEXO_HISTORY_HISTORYWAITS_H

#include <cstdint>
#include <optional>
#include <string>

#include "history/HistoryFile.h"
#include "history/RecordMark.h"

namespace vexo {

// Reads the episodes alone and no record, so that it is quick in a long history. For use by one thread.
class HistoryWaits {
public:
    explicit HistoryWaits(const std::string& path) : m_history(path) {}

    // The nearest record behind, or before, the one of this number in which a wait begins. One that goes on in another run
    // begins there. None where there is no such. Throw HistoryException.
    std::optional<RecordMark> next(std::uint64_t record);
    std::optional<RecordMark> previous(std::uint64_t record);

private:
    ReadableHistory m_history;
};

}  // namespace vexo

#endif
