// SPDX-License-Identifier: MIT
// What only the texts of records tell: sessions, files, connections, and who may hold a lock.
#ifndef VEXO_REPORT_RECORDSPASS_H
#define VEXO_REPORT_RECORDSPASS_H

#include <cstdint>
#include <string>
#include <vector>

#include "report/ReportData.h"

namespace vexo {

// Reads every record where they hold at most `mostItems`, else some of the key records at equal distances, and the first
// and the last one. Fills in the candidates for the longest waits too.
void readRecords(const std::string& path, RecordRange range, const std::vector<std::uint64_t>& keys,
                 std::uint64_t mostItems, ReportData& data);

}  // namespace vexo

#endif
