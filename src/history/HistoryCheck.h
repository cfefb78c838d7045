// SPDX-License-Identifier: MIT
// What an administrator does with a history: look whether it is whole, and copy it.
#ifndef VEXO_HISTORY_HISTORYCHECK_H
#define VEXO_HISTORY_HISTORYCHECK_H

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/String.h"
#include "history/HistoryFile.h"

namespace vexo {

struct HistoryCheck {
    std::uint64_t records = 0;     // that are whole
    std::vector<String> findings;  // sentences for the user; none where all is well
};

// Checks the structure of the file, reads every record by its checksum, and compares the tables with the records. The
// history may be written meanwhile. Throws HistoryException for a file that cannot be opened as a history.
HistoryCheck checkHistory(const std::string& path);

// The copy of a history exists, or cannot be written. The message names it.
class CopyException : public HistoryException {
public:
    using HistoryException::HistoryException;
};

// Copies a history, which may be written meanwhile, into a new file that is complete on its own and readable by its
// owner alone. It gets its name when it is complete. Throws HistoryException, and leaves no file, also when `isStopped`,
// which is asked now and then, gives true.
void backUpHistory(const std::string& path, const std::string& copy, bool (*isStopped)() = nullptr);

}  // namespace vexo

#endif
