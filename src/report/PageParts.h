// SPDX-License-Identifier: MIT
// The parts of a report's page. Each is appended to what was written before.
#ifndef VEXO_REPORT_PAGEPARTS_H
#define VEXO_REPORT_PAGEPARTS_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "report/Chart.h"
#include "report/ReportData.h"
#include "report/ReportText.h"

namespace vexo {

// The rules of how the page looks.
extern const char* const kPageStyle;

// What a part needs to write itself.
struct PageContext {
    const ReportData& data;
    const ReportText& text;
    TimeSpan span;
};

// What the cells of a column hold: numbers are aligned to the right.
enum class Cells : std::uint8_t { kText, kNumbers };

// A table within the page; it ends with the object. The element `named` + "-heading" is its name for screen readers. Where it
// is wider than the page it is scrolled, by keys too.
class HtmlTable {
public:
    struct Column {
        const char* key;  // of its heading
        Cells cells;
    };
    HtmlTable(std::string& out, const ReportText& text, std::string_view id, std::string_view named,
              std::initializer_list<Column> columns);
    ~HtmlTable();
    HtmlTable(const HtmlTable&) = delete;
    HtmlTable& operator=(const HtmlTable&) = delete;

    // The cells are HTML.
    void row(std::initializer_list<std::string_view> cells);

private:
    std::string& m_out;
    std::vector<Cells> m_columns;
};

// A section with its heading; it ends with the object.
class HtmlSection {
public:
    HtmlSection(std::string& out, const ReportText& text, std::string_view id, const char* key);
    ~HtmlSection();
    HtmlSection(const HtmlSection&) = delete;
    HtmlSection& operator=(const HtmlSection&) = delete;

private:
    std::string& m_out;
};

void appendParagraph(std::string& out, std::string_view html, std::string_view className = {});
// Tells that a table shows some of all; nothing where it shows all.
void appendShown(std::string& out, const ReportText& text, std::size_t shown, std::uint64_t all);
// The cause of a gap, in words.
std::string causeOf(const ReportText& text, const ReportGap& gap);
// That there is no gap; records without an answer may be too near to each other for one.
std::string noGapHtml(const ReportText& text, const ReportData& data);
// How a wait lasted, in words: as long as it was seen.
std::string lastedHtml(const ReportText& text, std::uint64_t milliseconds);
// The engine's name.
std::string serverHtml(const ReportText& text, const ReportData& data);
// The word for what a client waits for.
std::string waitKind(const ReportText& text, const std::string& kind);

void appendSummary(std::string& out, const PageContext& page);
void appendTimeline(std::string& out, const PageContext& page);
void appendGapTable(std::string& out, const PageContext& page);
void appendWaitTables(std::string& out, const PageContext& page);
void appendEventTable(std::string& out, const PageContext& page);
void appendCharts(std::string& out, const PageContext& page);
void appendResourceTable(std::string& out, const PageContext& page);
void appendSessionTable(std::string& out, const PageContext& page);
void appendFileTable(std::string& out, const PageContext& page);
void appendProtocolTable(std::string& out, const PageContext& page);

}  // namespace vexo

#endif
