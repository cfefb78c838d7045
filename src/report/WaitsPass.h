// SPDX-License-Identifier: MIT
// What a history tells of waits.
#ifndef VEXO_REPORT_WAITSPASS_H
#define VEXO_REPORT_WAITSPASS_H

#include <cstdint>
#include <vector>

#include "history/HistoryTables.h"
#include "report/ReportData.h"

namespace vexo {

// Fills in the waits, and gives when somebody waited, in the order of the beginnings. Also counts how long the sessions
// and files waited, under their names.
std::vector<RecordRange> readWaits(HistoryTables& tables, RecordRange range, ReportData& data);

}  // namespace vexo

#endif
