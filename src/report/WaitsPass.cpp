// SPDX-License-Identifier: MIT
#include "report/WaitsPass.h"

#include <algorithm>
#include <map>
#include <utility>

namespace vexo {
namespace {

constexpr std::size_t kGroups = 40;
constexpr std::size_t kLongest = 25;
constexpr std::size_t kLanes = 8;
// Bars closer than this part of the span are one.
constexpr std::int64_t kResolution = 2000;

bool isLonger(const ReportWait& one, const ReportWait& other) {
    return one.lastedMs != other.lastedMs ? one.lastedMs > other.lastedMs : one.records.first < other.records.first;
}

ReportWait waitOf(const WaitEpisode& episode) {
    ReportWait wait;
    wait.records = episode.records;
    wait.startMs = episode.sinceMs;
    wait.endMs = episode.sinceMs + static_cast<std::int64_t>(episode.waitedMs);
    wait.lastedMs = episode.waitedMs;
    wait.file = episode.file;
    wait.client = episode.client;
    wait.kind = episode.kind;
    return wait;
}

// Keeps the longest ones, in their order.
void keepLongest(std::vector<ReportWait>& waits) {
    const std::size_t kept = std::min(waits.size(), kLongest);
    std::partial_sort(waits.begin(), waits.begin() + static_cast<std::ptrdiff_t>(kept), waits.end(), isLonger);
    waits.resize(kept);
}

void addTo(WaitGroup& group, const ReportWait& wait) {
    if (group.count == 0 || wait.lastedMs > group.longestMs) {
        group.longestMs = wait.lastedMs;
        group.longestStartMs = wait.startMs;
    }
    ++group.count;
    group.totalMs += wait.lastedMs;
}

void addTo(WaitLane& lane, const ReportWait& wait, std::int64_t resolutionMs) {
    ++lane.count;
    lane.totalMs += wait.lastedMs;
    if (!lane.bars.empty() && wait.startMs - lane.bars.back().endMs <= resolutionMs &&
        wait.startMs >= lane.bars.back().startMs) {
        lane.bars.back().endMs = std::max(lane.bars.back().endMs, wait.endMs);
    } else {
        lane.bars.push_back({wait.startMs, wait.endMs});
    }
}

// The lanes of the files with the most waiting; the others share one.
std::vector<WaitLane> lanesOf(std::map<std::string, WaitLane>& byFile) {
    std::vector<WaitLane> lanes;
    for (auto& [file, lane] : byFile) {
        lanes.push_back(std::move(lane));
        lanes.back().file = file;
    }
    std::stable_sort(lanes.begin(), lanes.end(),
                     [](const WaitLane& one, const WaitLane& other) { return one.totalMs > other.totalMs; });
    if (lanes.size() <= kLanes) return lanes;
    WaitLane others;
    for (std::size_t place = kLanes - 1; place < lanes.size(); ++place) {
        others.count += lanes[place].count;
        others.totalMs += lanes[place].totalMs;
        others.bars.insert(others.bars.end(), lanes[place].bars.begin(), lanes[place].bars.end());
    }
    std::sort(others.bars.begin(), others.bars.end(),
              [](const WaitBar& one, const WaitBar& other) { return one.startMs < other.startMs; });
    lanes.resize(kLanes - 1);
    lanes.push_back(std::move(others));
    return lanes;
}

}  // namespace

std::vector<RecordRange> readWaits(HistoryTables& tables, RecordRange range, ReportData& data) {
    std::vector<RecordRange> ranges;
    std::map<std::pair<std::string, std::string>, WaitGroup> groups;
    std::map<std::string, WaitLane> lanes;
    const std::int64_t resolutionMs = (data.lastMs - data.firstMs) / kResolution;
    tables.forEachWait(range, [&](const WaitEpisode& episode) {
        const ReportWait wait = waitOf(episode);
        ranges.push_back(wait.records);
        addTo(groups[{wait.file, wait.client}], wait);
        addTo(lanes[wait.file], wait, resolutionMs);
        data.waitedByClient[wait.client] += wait.lastedMs;
        data.waitedByFile[wait.file] += wait.lastedMs;
        if (wait.lastedMs > kLongWaitMs) ++data.longWaits;
        if (wait.lastedMs == 0) ++data.seenOnce;
        data.waits.items.push_back(wait);
        if (data.waits.items.size() > 4 * kLongest) keepLongest(data.waits.items);
    });
    keepLongest(data.waits.items);
    const auto once = std::find_if(data.waits.items.begin(), data.waits.items.end(),
                                   [](const ReportWait& wait) { return wait.lastedMs == 0; });
    if (once != data.waits.items.end()) data.waits.items.erase(once + 1, data.waits.items.end());
    data.waits.all = ranges.size();
    data.waitGroups.all = groups.size();
    for (auto& [key, group] : groups) {
        std::tie(group.file, group.client) = key;
        data.waitGroups.items.push_back(std::move(group));
    }
    auto& items = data.waitGroups.items;
    std::stable_sort(items.begin(), items.end(),
                     [](const WaitGroup& one, const WaitGroup& other) { return one.totalMs > other.totalMs; });
    items.resize(std::min(items.size(), kGroups));
    data.lanes = lanesOf(lanes);
    return ranges;
}

}  // namespace vexo
