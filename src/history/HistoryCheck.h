// SPDX-License-Identifier: MIT
// What an administrator does with a history: look whether it is whole, and copy it.
#ifndef VEXO_HISTORY_HISTORYCHECK_H
#define VEXO_HISTORY_HISTORYCHECK_H

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/String.h"

namespace vexo {

struct HistoryCheck {
    std::uint64_t records = 0;     // that are whole
    std::vector<String> findings;  // sentences for the user; none where all is well
};

// Checks the structure of the file, reads every record by its checksum, and compares the tables with the records. The
// history may be written meanwhile. Throws HistoryException for a file that cannot be opened as a history.
HistoryCheck checkHistory(const std::string& path);

// Copies a history, which may be written meanwhile, into a new file that is complete on its own and readable by its
// owner alone. Throws HistoryException, and leaves no file, when the copy exists or cannot be written.
void backUpHistory(const std::string& path, const std::string& copy);

}  // namespace vexo

#endif
