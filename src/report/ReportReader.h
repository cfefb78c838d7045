// SPDX-License-Identifier: MIT
// Makes a report's data of a history.
#ifndef VEXO_REPORT_REPORTREADER_H
#define VEXO_REPORT_REPORTREADER_H

#include <cstdint>
#include <optional>
#include <string>

#include "history/HistoryTables.h"
#include "report/ReportData.h"

namespace vexo {

// The records from the first to the last one that began within [fromMs, toMs]; none where there is none. Without an end
// the last record of the history is one, and without a beginning it is a day before the end.
std::optional<HistorySpan> findSpan(const std::string& path, std::optional<std::int64_t> fromMs,
                                    std::optional<std::int64_t> toMs);
// All of them; none where the history is empty.
std::optional<HistorySpan> wholeSpan(const std::string& path);

// Reads the tables of numbers, and of the records' texts as many as can be read within a few seconds. The history may be
// written meanwhile. Throws HistoryException for what cannot be read at all; records that are damaged are told in the
// data.
ReportData readReport(const std::string& path, const HistorySpan& span);

}  // namespace vexo

#endif
