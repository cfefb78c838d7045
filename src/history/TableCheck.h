// SPDX-License-Identifier: MIT
// Whether the tables of a history tell the same as its records.
#ifndef VEXO_HISTORY_TABLECHECK_H
#define VEXO_HISTORY_TABLECHECK_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "history/HistoryTables.h"
#include "record/Record.h"

namespace vexo {

// Takes record after record, in their order. The history may be written meanwhile. For use by one thread.
class TableCheck {
public:
    explicit TableCheck(const std::string& path) : m_tables(path) {}

    // The names of the tables that tell something else about the record. Throws HistoryException.
    std::vector<const char*> differing(const Record& record);

private:
    void differingNumbers(const Record& record, std::vector<const char*>& tables);
    bool hasEventsOf(const Record& record);
    bool hasWaitsOf(const Record& record);
    bool isThere(const Record& record);

    HistoryTables m_tables;
    std::uint64_t m_next = 0;          // behind the last record
    std::set<std::uint64_t> m_starts;  // of the waits that the last record showed
};

}  // namespace vexo

#endif
