// SPDX-License-Identifier: MIT
#include "report/Page.h"

#include <array>

#include "record/SafeText.h"
#include "report/PageParts.h"

namespace vexo {
namespace {

// The sections that the contents name: their anchors, and the keys of their headings.
constexpr std::array<std::array<const char*, 2>, 9> kContents = {
    {{"timeline", "TIMELINE"},
     {"gaps", "GAPS"},
     {"waits", "WAITS"},
     {"events", "EVENTS"},
     {"charts", "CHARTS"},
     {"limits", "LIMITS"},
     {"sessions", "TOP_SESSIONS"},
     {"files", "TOP_FILES"},
     {"protocols", "PROTOCOLS"}}
};

void appendHead(std::string& out, const PageContext& page) {
    const ReportText& text = page.text;
    const std::string title = text.text(
        "TITLE", {page.data.server.empty() ? text.text("LOCAL_ENGINE") : escaped(safeText(page.data.server))});
    out += "<!DOCTYPE html>\n<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"" + text.text("LANGUAGE") +
           "\">\n<head>\n<meta charset=\"utf-8\"/>\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\"/>\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
           "<meta name=\"color-scheme\" content=\"light dark\"/>\n<meta name=\"referrer\" content=\"no-referrer\"/>\n"
           "<title>" +
           title + "</title>\n<style>" + kPageStyle + "</style>\n</head>\n<body>\n<header>\n<h1>" + title +
           "</h1>\n<p>" + text.range(page.data.firstMs, page.data.lastMs) + "</p>\n</header>\n<nav aria-label=\"" +
           text.text("CONTENTS") + "\"><ul>";
    for (const auto& [anchor, key] : kContents)
        out += std::string("<li><a href=\"#") + anchor + "\">" + text.text(key) + "</a></li>";
    out += "</ul></nav>\n<main>\n";
}

void appendFoot(std::string& out, const PageContext& page) {
    const ReportData& data = page.data;
    out += "</main>\n<footer>\n";
    appendParagraph(out, page.text.text("MADE", {nameHtml(data.madeBy), nameHtml(data.historyName),
                                                 page.text.instant(data.madeMs)}));
    appendParagraph(out, page.text.text("FOOT_TIMES"));
    out += "</footer>\n</body>\n</html>\n";
}

std::string pageOf(const ReportData& data) {
    const ReportText text;
    const Buckets& buckets = data.of(Series::kSessions).buckets;
    const PageContext page = {
        data, text, {buckets.startMs(), buckets.endMs()}
    };
    std::string out;
    appendHead(out, page);
    for (const auto part :
         {appendSummary, appendTimeline, appendGapTable, appendWaitTables, appendEventTable, appendCharts,
          appendResourceTable, appendSessionTable, appendFileTable, appendProtocolTable}) {
        part(out, page);
    }
    appendFoot(out, page);
    return out;
}

}  // namespace

std::string makePage(ReportData data) {
    std::string page = pageOf(data);
    constexpr std::size_t kFewBuckets = 20;
    while (page.size() > kMaxPageBytes && data.of(Series::kSessions).buckets.buckets().size() > kFewBuckets) {
        for (SeriesData& series : data.series)
            series.buckets = series.buckets.coarser();
        page = pageOf(data);
    }
    return page;
}

}  // namespace vexo
