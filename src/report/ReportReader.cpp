// SPDX-License-Identifier: MIT
#include "report/ReportReader.h"

#include <algorithm>
#include <utility>

#include "history/HistoryReader.h"
#include "record/Timestamp.h"
#include "report/NumbersPass.h"
#include "report/RecordsPass.h"
#include "report/WaitsPass.h"

namespace vexo {
namespace {

constexpr std::int64_t kDayMs = 86'400'000;
constexpr std::size_t kEvents = 500;

// The longest interval of the runs.
std::int64_t intervalOf(const std::vector<HistoryRun>& runs) {
    constexpr std::int64_t kDefaultMs = 10'000;
    std::int64_t longest = 0;
    for (const HistoryRun& run : runs)
        longest = std::max(longest, static_cast<std::int64_t>(run.intervalMs));
    return longest > 0 ? longest : kDefaultMs;
}

void addNew(std::vector<std::string>& known, const std::string& text) {
    if (!text.empty() && std::find(known.begin(), known.end(), text) == known.end()) known.push_back(text);
}

void takeRuns(const std::vector<HistoryRun>& runs, ReportData& data) {
    std::vector<std::string> servers;
    data.runs = runs.size();
    data.knowsWaits = false;
    for (const HistoryRun& run : runs) {
        addNew(servers, run.server);
        addNew(data.engineVersions, run.engineVersion);
        data.knowsWaits = data.knowsWaits || run.scope != HandleScope::kNone;
    }
    for (const std::string& server : servers)
        data.server += (data.server.empty() ? "" : ", ") + server;
}

bool tellsFailure(EventKind kind) {
    return kind == EventKind::kConnectFailed || kind == EventKind::kConnectionLost || kind == EventKind::kStalled;
}

Failures readEvents(HistoryTables& tables, RecordRange range, ReportData& data) {
    std::vector<EventRow>& rows = data.events.items;
    Failures failures;
    std::uint64_t record = 0;
    std::uint64_t ofRecord = 0;
    tables.forEachEvent(range, [&](const HistoryEvent& found) {
        const EventItem& event = found.event;
        ofRecord = found.record == std::exchange(record, found.record) ? ofRecord + 1 : 1;
        if (tellsFailure(event.kind) || failures.count(record) > 0) failures[record] = ofRecord;
        ++data.eventCounts[event.kind];
        ++data.events.all;
        data.eventTimes.push_back(event.startMs);
        const std::int64_t lastMs = event.endMs.value_or(event.startMs);
        if (!rows.empty() && rows.back().first.kind == event.kind && rows.back().first.text == event.text) {
            ++rows.back().count;
            rows.back().lastMs = lastMs;
        } else if (rows.size() < kEvents) {
            rows.push_back({event, 1, lastMs});
        } else {
            ++data.eventsLeftOut;
        }
    });
    std::sort(data.eventTimes.begin(), data.eventTimes.end());  // clocks are set back
    return failures;
}

}  // namespace

std::optional<HistorySpan> wholeSpan(const std::string& path) {
    return HistoryTables(path).span(kFirstEpochMs, kLastEpochMs);
}

std::optional<HistorySpan> findSpan(const std::string& path, std::optional<std::int64_t> fromMs,
                                    std::optional<std::int64_t> toMs) {
    const auto whole = wholeSpan(path);
    if (!whole) return std::nullopt;
    const std::int64_t to = toMs.value_or(whole->last.epochMs);
    return HistoryTables(path).span(fromMs.value_or(to - kDayMs), to);
}

ReportData readReport(const std::string& path, const HistorySpan& span, std::uint64_t mostItems) {
    HistoryTables tables(path);
    const RecordRange range = {span.first.number, span.last.number};
    const std::vector<HistoryRun> runs = tables.runs(range);
    const std::int64_t interval = intervalOf(runs);
    const std::int64_t step =
        stepAtLeast(std::max(interval, (span.latestMs - span.earliestMs) / static_cast<std::int64_t>(kMaxBuckets - 2)));
    ReportData data(Buckets(span.earliestMs, span.latestMs, step));
    data.firstMs = span.earliestMs;
    data.lastMs = span.latestMs;
    for (SeriesData& series : data.series)
        series.bridgeMs = gapAfterMs(interval);
    takeRuns(runs, data);
    const Failures failures = readEvents(tables, range, data);
    const std::vector<RecordRange> waiting = readWaits(tables, range, data);
    const std::vector<std::uint64_t> keys = readNumbers(tables, range, runs, waiting, failures, data);
    readRecords(path, range, keys, mostItems, data);
    return data;
}

}  // namespace vexo
