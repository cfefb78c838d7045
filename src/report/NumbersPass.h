// SPDX-License-Identifier: MIT
// What the tables of numbers tell: series, gaps, the use of resources, protocols.
#ifndef VEXO_REPORT_NUMBERSPASS_H
#define VEXO_REPORT_NUMBERSPASS_H

#include <cstdint>
#include <map>
#include <vector>

#include "history/HistoryTables.h"
#include "report/ReportData.h"

namespace vexo {

// Two records that are further apart than this have a gap between them.
std::int64_t gapAfterMs(std::int64_t intervalMs);

// The records whose events tell that the engine did not answer, with the number of all of their events.
using Failures = std::map<std::uint64_t, std::uint64_t>;

// `waiting` is what readWaits() gave. Gives the numbers of the key records.
std::vector<std::uint64_t> readNumbers(HistoryTables& tables, RecordRange range, const std::vector<HistoryRun>& runs,
                                       const std::vector<RecordRange>& waiting, const Failures& failures,
                                       ReportData& data);

}  // namespace vexo

#endif
