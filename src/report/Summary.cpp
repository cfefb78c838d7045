// SPDX-License-Identifier: MIT
// What matters of a report, in sentences.
#include <algorithm>
#include <cstring>

#include "report/PageParts.h"

namespace vexo {
namespace {

// A resource that came this near to its limit is worth a sentence.
constexpr double kNearLimit = 0.8;

using Sentences = std::vector<std::string>;

void tellSpan(Sentences& sentences, const PageContext& page) {
    const auto& [data, text, span] = page;
    const std::string server = serverHtml(text, data);
    const std::string when = data.records == 1 ? text.instant(data.firstMs) : text.range(data.firstMs, data.lastMs);
    sentences.push_back(
        text.counted("SUM_RECORDS", data.records,
                     {server, text.duration(static_cast<std::uint64_t>(data.lastMs - data.firstMs)), when}));
    std::string versions;
    for (const std::string& version : data.engineVersions)
        versions += (versions.empty() ? "" : ", ") + nameHtml(version);
    if (!versions.empty()) sentences.push_back(text.text("SUM_VERSION", {versions}));
    if (data.runs > 1) sentences.push_back(text.counted("SUM_RUNS", data.runs));
}

// Where less was recorded than was asked for.
void tellBorders(Sentences& sentences, const PageContext& page) {
    const auto& [data, text, span] = page;
    const std::int64_t spare = data.of(Series::kSessions).bridgeMs;
    if (data.fromMs && *data.fromMs < data.firstMs - spare)
        sentences.push_back(text.text("SUM_BEFORE", {text.range(*data.fromMs, data.firstMs)}));
    if (data.toMs && *data.toMs > data.lastMs + spare)
        sentences.push_back(text.text("SUM_BEHIND", {text.range(data.lastMs, *data.toMs)}));
}

void tellGaps(Sentences& sentences, const PageContext& page) {
    const auto& [data, text, span] = page;
    const auto& gaps = data.gaps.items;
    if (gaps.empty()) {
        sentences.push_back(noGapHtml(text, data));
        return;
    }
    const ReportGap& longest =
        *std::max_element(gaps.begin(), gaps.end(),
                          [](const ReportGap& one, const ReportGap& other) { return one.lengthMs < other.lengthMs; });
    sentences.push_back(text.counted("SUM_GAPS", data.gaps.all,
                                     {text.duration(data.gapsMs), text.duration(longest.lengthMs),
                                      text.range(longest.startMs, longest.endMs), causeOf(text, longest)}));
}

void tellWaits(Sentences& sentences, const PageContext& page) {
    const auto& [data, text, span] = page;
    if (!data.knowsWaits) {
        sentences.push_back(text.text("SUM_WAITS_UNKNOWN"));
    } else if (data.waits.items.empty()) {
        sentences.push_back(text.text("SUM_NO_WAIT"));
    } else {
        const ReportWait& longest = data.waits.items.front();
        const bool isSeenOnce = longest.lastedMs == 0;
        const std::string who =
            text.text(isSeenOnce ? "SUM_SEEN_ONCE" : "SUM_LONGEST",
                      {lastedHtml(text, longest.lastedMs), nameHtml(longest.file), nameHtml(longest.client),
                       isSeenOnce ? text.instant(longest.startMs) : text.range(longest.startMs, longest.endMs)});
        const bool hasLong = data.longWaits > 0;
        sentences.push_back(text.counted(hasLong ? "SUM_LONG_WAITS" : "SUM_SHORT_WAITS",
                                         hasLong ? data.longWaits : data.waits.all, {text.duration(kLongWaitMs), who}));
    }
}

void tellLimits(Sentences& sentences, const PageContext& page) {
    const auto& [data, text, span] = page;
    for (const ResourceUse& use : data.resources) {
        const bool isSessions = std::strcmp(use.key, "RESOURCE_SESSIONS") == 0;
        const std::string name = text.text(use.key);
        if (use.reachedLimit) {
            const std::string reached = text.amount(use.quantity, static_cast<double>(*use.reachedLimit));
            sentences.push_back(text.text("SUM_LIMIT_REACHED", {name, reached, text.instant(use.reachedAtMs)}));
            continue;
        }
        const std::string most = text.amount(use.quantity, use.current.greatest);
        const std::string when = text.instant(use.current.greatestAtMs);
        if (!use.limit || *use.limit <= 0) {
            if (isSessions) sentences.push_back(text.text("SUM_MOST", {name, most, when}));
            continue;
        }
        const double share = use.current.greatest / static_cast<double>(*use.limit);
        const std::string limit = text.amount(use.quantity, static_cast<double>(*use.limit));
        if (isSessions || share >= kNearLimit)
            sentences.push_back(text.text("SUM_LIMIT_NEAR", {name, most, limit, text.percent(share), when}));
    }
}

void tellEvents(Sentences& sentences, const PageContext& page) {
    const auto& [data, text, span] = page;
    for (const auto& [kind, key] : {
             std::pair(EventKind::kConnectionLost, "SUM_LOST"),
             {EventKind::kEngineRestarted, "SUM_RESTARTED"},
             {EventKind::kStalled,         "SUM_STALLED"  },
             {EventKind::kClockChanged,    "SUM_CLOCK"    }
    }) {
        const auto found = data.eventCounts.find(kind);
        if (found != data.eventCounts.end()) sentences.push_back(text.counted(key, found->second));
    }
    for (const RecordRange& lost : data.damage)
        sentences.push_back(text.text("SUM_DAMAGE", {text.number(lost.first), text.number(lost.last)}));
}

}  // namespace

void appendSummary(std::string& out, const PageContext& page) {
    const HtmlSection section(out, page.text, "summary", "SUMMARY");
    Sentences sentences;
    for (const auto tell : {tellSpan, tellBorders, tellGaps, tellWaits, tellLimits, tellEvents})
        tell(sentences, page);
    out += "<ul class=\"summary\">\n";
    for (const std::string& sentence : sentences)
        out += "<li>" + sentence + "</li>\n";
    out += "</ul>\n";
}

}  // namespace vexo
