// SPDX-License-Identifier: MIT
#include "report/PageParts.h"

namespace vexo {

HtmlTable::HtmlTable(std::string& out, const ReportText& text, std::string_view id, std::string_view named,
                     std::initializer_list<Column> columns)
    : m_out(out) {
    m_out += "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-labelledby=\"" + std::string(named) +
             "-heading\"><table id=\"" + std::string(id) + "\"><thead><tr>";
    for (const Column& column : columns) {
        m_columns.push_back(column.cells);
        m_out += column.cells == Cells::kNumbers ? "<th scope=\"col\" class=\"n\">" : "<th scope=\"col\">";
        m_out += text.text(column.key) + "</th>";
    }
    m_out += "</tr></thead><tbody>\n";
}

HtmlTable::~HtmlTable() {
    m_out += "</tbody></table></div>\n";
}

void HtmlTable::row(std::initializer_list<std::string_view> cells) {
    m_out += "<tr>";
    std::size_t column = 0;
    for (const std::string_view cell : cells) {
        m_out += m_columns[column++] == Cells::kNumbers ? "<td class=\"n\">" : "<td>";
        m_out += cell;
        m_out += "</td>";
    }
    m_out += "</tr>\n";
}

HtmlSection::HtmlSection(std::string& out, const ReportText& text, std::string_view id, const char* key) : m_out(out) {
    const std::string name(id);
    m_out += "<section id=\"" + name + "\">\n<h2 id=\"" + name + "-heading\">" + text.text(key) + "</h2>\n";
}

HtmlSection::~HtmlSection() {
    m_out += "</section>\n";
}

void appendParagraph(std::string& out, std::string_view html, std::string_view className) {
    out += className.empty() ? "<p>" : "<p class=\"" + std::string(className) + "\">";
    out += html;
    out += "</p>\n";
}

void appendShown(std::string& out, const ReportText& text, std::size_t shown, std::uint64_t all) {
    if (shown >= all) return;
    appendParagraph(out, text.text("SHOWN", {text.number(std::uint64_t{shown}), text.number(all)}), "note");
}

std::string causeOf(const ReportText& text, const ReportGap& gap) {
    switch (gap.cause) {
        case ReportGap::Cause::kNoAnswer:
            return text.text("GAP_NO_ANSWER");
        case ReportGap::Cause::kNoRecorder:
            return text.text("GAP_NO_RECORDER");
        case ReportGap::Cause::kNoRecords:
            break;
    }
    return text.text("GAP_NO_RECORDS");
}

std::string noGapHtml(const ReportText& text, const ReportData& data) {
    return data.unanswered == 0 ? text.text("SUM_NO_GAP") : text.counted("SUM_UNANSWERED", data.unanswered);
}

std::string lastedHtml(const ReportText& text, std::uint64_t milliseconds) {
    return milliseconds == 0 ? text.text("WAIT_ONCE") : text.duration(milliseconds);
}

std::string serverHtml(const ReportText& text, const ReportData& data) {
    return data.server.empty() ? text.text("LOCAL_ENGINE") : nameHtml(data.server);
}

std::string waitKind(const ReportText& text, const std::string& kind) {
    if (kind == "record") return text.text("WAIT_RECORD");
    if (kind == "file") return text.text("WAIT_FILE");
    return nameHtml(kind);
}

}  // namespace vexo
