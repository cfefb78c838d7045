// SPDX-License-Identifier: MIT
// The tables of a history, described in docs/HISTORY.md.
#ifndef VEXO_HISTORY_SCHEMA_H
#define VEXO_HISTORY_SCHEMA_H

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "record/Record.h"

namespace vexo {

inline constexpr int kApplicationId = 0x56584849;  // "VXHI", in the header of the file
inline constexpr int kHistoryVersion = 1;          // the user_version

// What creates the tables in an empty file.
extern const char* const kSchema;

// A row of numbers, in the order of the columns.
using Row = std::vector<std::optional<std::int64_t>>;

// A table of numbers that repeats what the record's text tells, for SQL and for reading without unpacking. The first
// column is `rec`.
struct NumberTable {
    const char* name;
    std::vector<Row> (*rowsOf)(const Record& record);
};
extern const std::array<NumberTable, 3> kNumberTables;

// A wall clock's milliseconds as the tables have them.
inline constexpr std::int64_t kMicrosPerMilli = 1000;

// For the tables, which count in the signed numbers of SQL.
template <typename Number>
std::int64_t sqlNumber(Number number) {
    return static_cast<std::int64_t>(number);
}

}  // namespace vexo

#endif
