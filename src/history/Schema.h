// SPDX-License-Identifier: MIT
// The tables of a history, described in docs/HISTORY.md.
#ifndef VEXO_HISTORY_SCHEMA_H
#define VEXO_HISTORY_SCHEMA_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "record/Record.h"

namespace vexo {

inline constexpr int kApplicationId = 0x56584849;  // "VXHI", in the header of the file
inline constexpr int kHistoryVersion = 1;          // the user_version

// What creates the tables in an empty file.
extern const char* const kSchema;

// Numbers in the order of a table's columns.
using Row = std::vector<std::optional<std::int64_t>>;

// What `record_numbers` holds behind kHeadColumns: the numbers of the sections. None of a section that failed or is off.
inline constexpr std::size_t kHeadColumns = 7;
Row numbersOf(const Record& record);

// What `limits` holds behind its first column.
inline constexpr std::size_t kLimits = 21;
using Limits = std::array<std::optional<std::int64_t>, kLimits>;
// The limits and peaks of a record; those of `before` for a section that failed or is off.
Limits limitsOf(const Record& record, const Limits& before);

// A row for each protocol of the record: what `protocol_span` holds behind its first three columns.
std::vector<Row> protocolsOf(const Record& record);

// A text of the engine for SQL, which takes UTF-8 alone: each wrong byte becomes U+FFFD.
std::string sqlText(std::string_view bytes);
// What a client waits for: the word of a code, or the number of an unknown one.
std::string waitWord(std::uint8_t code);

inline constexpr std::int64_t kMicrosPerMilli = 1000;

// For the tables, which count in the signed numbers of SQL.
template <typename Number>
std::int64_t sqlNumber(Number number) {
    return static_cast<std::int64_t>(number);
}

}  // namespace vexo

#endif
