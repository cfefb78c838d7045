// SPDX-License-Identifier: MIT
#include "record/Waits.h"

#include <algorithm>

#include "record/Codes.h"
#include "record/Identity.h"
#include "record/Rates.h"

namespace vexo {
namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;

// Milliseconds from one record to the next: by the monotonic clock, or by the wall clock where the recorder was started
// anew in between.
std::uint64_t millisBetween(const Record& before, const Record& now) {
    const std::int64_t passed = before.run == now.run
                                    ? now.monotonicUs / kMicrosPerMilli - before.monotonicUs / kMicrosPerMilli
                                    : now.epochMs - before.epochMs;
    return static_cast<std::uint64_t>(std::max<std::int64_t>(passed, 0));
}

bool isExclusive(const HandleState& state) {
    constexpr std::uint8_t kExclusiveModes[] = {252, 244, 236};  // transactional, non-transactional, shared locking
    return state.transactionState == kExclusiveTransaction ||
           std::find(std::begin(kExclusiveModes), std::end(kExclusiveModes), state.openMode) !=
               std::end(kExclusiveModes);
}

}  // namespace

Holding holdingOf(const HandleState& state) {
    if (waits(state)) return Holding::kNone;
    if (isExclusive(state)) return Holding::kExclusive;
    if (locks(state)) return Holding::kLocks;
    return state.transactionState != 0 ? Holding::kTransaction : Holding::kNone;
}

void addWaits(Record& now, const Record* before) {
    now.waits.clear();
    for (const FileItem& file : now.files) {
        if (file.counts.waiting == 0) continue;
        for (std::uint32_t place = file.handles.first; place < file.handles.first + file.handles.count; ++place) {
            const FileHandleItem& handle = now.fileHandles[place];
            if (!waits(handle.state)) continue;
            now.waits.push_back({file.name, handle.client, handle.clientIndex, handle.state.waitState, now.epochMs, 0});
        }
    }
    if (!before || restartedBetween(*before, now)) return;
    const Matches matches = matchWaits(*before, now);
    const std::uint64_t passed = millisBetween(*before, now);
    for (std::size_t place = 0; place < matches.size(); ++place) {
        if (matches[place] == kNew) continue;
        const WaitItem& known = before->waits[matches[place]];
        now.waits[place].sinceMs = known.sinceMs;
        now.waits[place].waitedMs = known.waitedMs + passed;
    }
}

std::vector<std::uint32_t> mayHold(const Record& record, const WaitItem& wait) {
    std::vector<std::uint32_t> holders;
    for (const FileItem& file : record.files) {
        if (file.name != wait.file) continue;
        for (std::uint32_t place = file.handles.first; place < file.handles.first + file.handles.count; ++place) {
            const FileHandleItem& handle = record.fileHandles[place];
            const bool own = handle.clientIndex == wait.clientIndex && handle.client == wait.client;
            if (!own && holdingOf(handle.state) != Holding::kNone) holders.push_back(place);
        }
    }
    std::stable_sort(holders.begin(), holders.end(), [&](std::uint32_t left, std::uint32_t right) {
        return holdingOf(record.fileHandles[left].state) < holdingOf(record.fileHandles[right].state);
    });
    return holders;
}

}  // namespace vexo
