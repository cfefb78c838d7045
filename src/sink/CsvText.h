// SPDX-License-Identifier: MIT
// Records as tables for spreadsheets: CSV after RFC 4180, one table for each kind of line.
#ifndef VEXO_SINK_CSVTEXT_H
#define VEXO_SINK_CSVTEXT_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "record/Record.h"

namespace vexo {

inline constexpr std::size_t kCsvTables = 11;

// What a text becomes that a spreadsheet would take for a formula.
enum class CsvFormulas {
    kGuarded,  // it gets an apostrophe in front
    kRaw,
};

// Makes rows of records. Keeps its buffers from one record to the next. For use by one thread.
class CsvText {
public:
    explicit CsvText(CsvFormulas formulas);
    ~CsvText();
    CsvText(const CsvText&) = delete;
    CsvText& operator=(const CsvText&) = delete;

    // The kind that a table is for, which names its file.
    static std::string_view kind(std::size_t table);
    // The first row of a table.
    static std::string header(std::size_t table);

    // The rows of a record for each table.
    const std::array<std::string, kCsvTables>& rows(const Record& record);

private:
    struct Parser;
    const std::unique_ptr<Parser> m_parser;
    const CsvFormulas m_formulas;
    std::string m_text;
    std::array<std::string, kCsvTables> m_rows;
};

}  // namespace vexo

#endif
