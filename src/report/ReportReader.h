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

// So many items of records are read in about two seconds.
inline constexpr std::uint64_t kMostItems = 3'000'000;

// Reads the tables of numbers, and the records' texts: all of them where they hold at most `mostItems`, else key records
// at equal distances, with the first and the last record. The history may be written meanwhile. Throws HistoryException
// for what cannot be read at all; records that are damaged are told in the data.
ReportData readReport(const std::string& path, const HistorySpan& span, std::uint64_t mostItems = kMostItems);

}  // namespace vexo

#endif
