// SPDX-License-Identifier: MIT
// The tables of a report's page.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>

#include "record/Codes.h"
#include "report/PageParts.h"

namespace vexo {
namespace {

std::string amountOf(const ReportText& text, Quantity quantity, std::uint64_t value) {
    return text.amount(quantity, static_cast<double>(value));
}

// The key of the text for a word.
std::string keyOf(const char* start, std::string_view word) {
    std::string key = start;
    std::transform(word.begin(), word.end(), std::back_inserter(key),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return key;
}

// A bar beside the number that it shows.
std::string shareHtml(const ReportText& text, double share) {
    constexpr double kAll = 100;
    const std::string width = std::to_string(static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * kAll)));
    return "<svg class=\"share\" viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" aria-hidden=\"true\">"
           "<rect class=\"all\" width=\"100\" height=\"10\"/><rect class=\"part\" width=\"" +
           width + "\" height=\"10\"/></svg> " + text.percent(share);
}

std::string growthHtml(const ReportText& text, std::int64_t bytes) {
    return (bytes > 0 ? "+" : "") + text.amount(Quantity::kBytes, static_cast<double>(bytes));
}

std::string waitedHtml(const ReportText& text, std::uint64_t milliseconds) {
    return milliseconds == 0 ? "–" : text.duration(milliseconds);
}

// Whether the growth of sessions and files is exact, or seen in some records only.
void appendBasis(std::string& out, const PageContext& page, const char* allKey, const char* someKey) {
    const auto& [data, text, span] = page;
    const bool isExact = data.recordsRead == data.records;
    appendParagraph(
        out, text.text(isExact ? allKey : someKey, {text.number(data.recordsRead), text.number(data.records)}), "note");
}

void appendGroups(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    out += "<h3 id=\"wait-groups-heading\">" + text.text("WAIT_GROUPS") + "</h3>\n";
    {
        HtmlTable table(out, text, "wait-groups", "wait-groups",
                        {
                            {"COLUMN_FILE",         Cells::kText   },
                            {"COLUMN_CLIENT",       Cells::kText   },
                            {"COLUMN_WAITS",        Cells::kNumbers},
                            {"COLUMN_TOTAL",        Cells::kNumbers},
                            {"COLUMN_LONGEST",      Cells::kNumbers},
                            {"COLUMN_LONGEST_FROM", Cells::kText   }
        });
        for (const WaitGroup& group : data.waitGroups.items) {
            table.row({nameHtml(group.file), nameHtml(group.client), text.number(group.count),
                       waitedHtml(text, group.totalMs), lastedHtml(text, group.longestMs),
                       text.instant(group.longestStartMs)});
        }
    }
    appendShown(out, text, data.waitGroups.items.size(), data.waitGroups.all);
}

void appendLongest(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    out += "<h3 id=\"longest-waits-heading\">" + text.text("WAIT_LONGEST") + "</h3>\n";
    {
        HtmlTable table(out, text, "longest-waits", "longest-waits",
                        {
                            {"COLUMN_LASTED",  Cells::kText},
                            {"COLUMN_WHEN",    Cells::kText},
                            {"COLUMN_FILE",    Cells::kText},
                            {"COLUMN_CLIENT",  Cells::kText},
                            {"COLUMN_FOR",     Cells::kText},
                            {"COLUMN_HOLDERS", Cells::kText}
        });
        for (const ReportWait& wait : data.waits.items) {
            if (wait.lastedMs == 0 && data.waits.items.size() > 1) break;
            std::string holders;
            for (const std::string& holder : wait.holders)
                holders += (holders.empty() ? "" : ", ") + nameHtml(holder);
            if (wait.moreHolders > 0) holders += ' ' + text.text("MORE", {text.number(wait.moreHolders)});
            table.row({lastedHtml(text, wait.lastedMs), text.range(wait.startMs, wait.endMs), nameHtml(wait.file),
                       nameHtml(wait.client), waitKind(text, wait.kind), holders.empty() ? "–" : holders});
        }
    }
    const std::uint64_t longer = data.waits.all - data.seenOnce;
    if (longer > 0) appendShown(out, text, std::min<std::uint64_t>(data.waits.items.size(), longer), longer);
    if (data.seenOnce > 0) appendParagraph(out, text.counted("WAITS_ONCE", data.seenOnce), "note");
}

}  // namespace

void appendGapTable(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "gaps", "GAPS");
    if (data.gaps.items.empty()) return appendParagraph(out, noGapHtml(text, data));
    appendParagraph(out, text.text("GAPS_NOTE"), "note");
    {
        HtmlTable table(
            out, text, "gap-table", "gaps",
            {
                {"COLUMN_LASTED", Cells::kText},
                {"COLUMN_WHEN",   Cells::kText},
                {"COLUMN_CAUSE",  Cells::kText}
        });
        for (const ReportGap& gap : data.gaps.items)
            table.row({text.duration(gap.lengthMs), text.range(gap.startMs, gap.endMs), causeOf(text, gap)});
    }
    appendShown(out, text, data.gaps.items.size(), data.gaps.all);
}

void appendWaitTables(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "waits", "WAITS");
    if (!data.knowsWaits) return appendParagraph(out, text.text("SUM_WAITS_UNKNOWN"));
    if (data.waits.items.empty()) return appendParagraph(out, text.text("SUM_NO_WAIT"));
    appendParagraph(out, text.text("WAITS_NOTE"), "note");
    appendGroups(out, page);
    appendLongest(out, page);
}

void appendEventTable(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "events", "EVENTS");
    if (data.events.items.empty()) return appendParagraph(out, text.text("NO_EVENT"));
    {
        HtmlTable table(
            out, text, "event-table", "events",
            {
                {"COLUMN_WHEN",  Cells::kText},
                {"COLUMN_EVENT", Cells::kText},
                {"COLUMN_TEXT",  Cells::kText}
        });
        for (const EventRow& row : data.events.items) {
            const EventItem& event = row.first;
            const std::string kind = text.text(keyOf("EVENT_", wordOf(event.kind)));
            const bool lasted = row.lastMs > event.startMs;
            std::string told = nameHtml(event.text);
            if (row.count > 1) told += " (" + text.text("TIMES", {text.number(row.count)}) + ")";
            table.row({lasted ? text.range(event.startMs, row.lastMs) : text.instant(event.startMs), kind, told});
        }
    }
    appendShown(out, text, data.events.all - data.eventsLeftOut, data.events.all);
}

void appendCharts(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "charts", "CHARTS");
    appendParagraph(out,
                    text.text("CHARTS_NOTE",
                              {text.duration(static_cast<std::uint64_t>(data.of(Series::kSessions).buckets.stepMs()))}),
                    "note");
    struct Drawn {
        const char* id;
        const char* key;
        Series series;
        Quantity quantity;
    };
    constexpr Drawn kDrawn[] = {
        {"chart-sessions",     "CHART_SESSIONS",     Series::kSessions,       Quantity::kCount    },
        {"chart-waiting",      "CHART_WAITING",      Series::kWaiting,        Quantity::kCount    },
        {"chart-locks",        "CHART_LOCKS",        Series::kLocks,          Quantity::kCount    },
        {"chart-transactions", "CHART_TRANSACTIONS", Series::kTransactions,   Quantity::kCount    },
        {"chart-requests",     "CHART_REQUESTS",     Series::kRequests,       Quantity::kPerSecond},
        {"chart-read",         "CHART_READ",         Series::kRecordsRead,    Quantity::kPerSecond},
        {"chart-written",      "CHART_WRITTEN",      Series::kRecordsWritten, Quantity::kPerSecond},
        {"chart-handles",      "CHART_HANDLES",      Series::kHandles,        Quantity::kCount    },
        {"chart-connections",  "CHART_CONNECTIONS",  Series::kConnections,    Quantity::kCount    },
        {"chart-data",         "CHART_DATA",         Series::kDataInUse,      Quantity::kBytes    },
    };
    out += "<div class=\"charts\">\n";
    for (const Drawn& drawn : kDrawn) {
        appendChart(out, text, drawn.id, drawn.key, drawn.quantity, data.of(drawn.series), data.gaps.items);
        out += '\n';
    }
    out += "</div>\n";
}

void appendResourceTable(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "limits", "LIMITS");
    if (data.resources.empty()) return appendParagraph(out, text.text("NO_USAGE"));
    HtmlTable table(out, text, "resource-table", "limits",
                    {
                        {"COLUMN_RESOURCE",    Cells::kText   },
                        {"COLUMN_LEAST",       Cells::kNumbers},
                        {"COLUMN_MEAN",        Cells::kNumbers},
                        {"COLUMN_GREATEST",    Cells::kNumbers},
                        {"COLUMN_GREATEST_AT", Cells::kText   },
                        {"COLUMN_LIMIT",       Cells::kNumbers},
                        {"COLUMN_SHARE",       Cells::kNumbers},
                        {"COLUMN_PEAK",        Cells::kNumbers}
    });
    for (const ResourceUse& use : data.resources) {
        const Statistics& current = use.current;
        const bool isLimited = use.limit && *use.limit > 0;
        const double limit = isLimited ? static_cast<double>(*use.limit) : 0;
        table.row(
            {text.text(use.key), text.amount(use.quantity, current.least), text.amount(use.quantity, current.mean()),
             text.amount(use.quantity, current.greatest), text.instant(current.greatestAtMs),
             isLimited ? text.amount(use.quantity, limit) : text.text("UNLIMITED"),
             isLimited ? shareHtml(text, current.greatest / limit) : "–", amountOf(text, use.quantity, use.peak)});
    }
}

void appendSessionTable(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "sessions", "TOP_SESSIONS");
    if (data.sessions.items.empty()) return appendParagraph(out, text.text("NO_SESSION"));
    appendBasis(out, page, "SESSIONS_OF_ALL", "SESSIONS_OF_SOME");
    {
        HtmlTable table(out, text, "session-table", "sessions",
                        {
                            {"COLUMN_SESSION",  Cells::kText   },
                            {"COLUMN_ADDRESS",  Cells::kText   },
                            {"COLUMN_SESSIONS", Cells::kNumbers},
                            {"COLUMN_READ",     Cells::kNumbers},
                            {"COLUMN_WRITTEN",  Cells::kNumbers},
                            {"COLUMN_DISK",     Cells::kNumbers},
                            {"COLUMN_CACHED",   Cells::kNumbers},
                            {"COLUMN_WAITED",   Cells::kNumbers}
        });
        for (const SessionUse& use : data.sessions.items) {
            const std::uint64_t accesses = use.diskAccesses + use.cacheAccesses;
            table.row({nameHtml(use.name), nameHtml(use.address), text.number(use.sessions),
                       text.number(use.recordsRead), text.number(use.recordsWritten), text.number(use.diskAccesses),
                       accesses == 0
                           ? "–"
                           : text.percent(static_cast<double>(use.cacheAccesses) / static_cast<double>(accesses)),
                       waitedHtml(text, use.waitedMs)});
        }
    }
    appendShown(out, text, data.sessions.items.size(), data.sessions.all);
}

void appendFileTable(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "files", "TOP_FILES");
    if (data.files.items.empty()) return appendParagraph(out, text.text("NO_FILE"));
    appendBasis(out, page, "FILES_OF_ALL", "FILES_OF_SOME");
    {
        HtmlTable table(out, text, "file-table", "files",
                        {
                            {"COLUMN_FILE",    Cells::kText   },
                            {"COLUMN_SIZE",    Cells::kNumbers},
                            {"COLUMN_GROWN",   Cells::kNumbers},
                            {"COLUMN_HANDLES", Cells::kNumbers},
                            {"COLUMN_WAITED",  Cells::kNumbers}
        });
        for (const FileUse& use : data.files.items) {
            table.row({nameHtml(use.name), amountOf(text, Quantity::kBytes, use.sizeBytes),
                       growthHtml(text, use.grownBytes), text.number(use.mostHandles), waitedHtml(text, use.waitedMs)});
        }
    }
    appendShown(out, text, data.files.items.size(), data.files.all);
}

void appendProtocolTable(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "protocols", "PROTOCOLS");
    if (data.protocols.empty()) return appendParagraph(out, text.text("NO_PROTOCOL"));
    HtmlTable table(out, text, "protocol-table", "protocols",
                    {
                        {"COLUMN_PROTOCOL",    Cells::kText   },
                        {"COLUMN_REQUESTS",    Cells::kNumbers},
                        {"COLUMN_RATE",        Cells::kNumbers},
                        {"COLUMN_REMOTE_MEAN", Cells::kNumbers},
                        {"COLUMN_REMOTE_MOST", Cells::kNumbers}
    });
    for (const ProtocolUse& use : data.protocols) {
        const std::string_view word = wordOf(Codes::kProtocol, use.type);
        const std::string name = word.empty() ? text.text("PROTOCOL_OTHER", {std::to_string(use.type)})
                                              : text.text(keyOf("PROTOCOL_", word));
        constexpr double kSecond = 1000;
        const double seconds = static_cast<double>(use.measuredMs) / kSecond;
        table.row({name, text.number(use.requests),
                   seconds > 0 ? text.number(static_cast<double>(use.requests) / seconds) : "–",
                   text.number(use.sessions.mean()), text.number(use.sessions.greatest)});
    }
}

}  // namespace vexo
