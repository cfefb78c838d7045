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

constexpr int kNoHolder = 3;

// How likely the handle holds what others wait for, the likeliest first.
int rankOf(const HandleState& state) {
    if (waits(state)) return kNoHolder;
    if (isExclusive(state)) return 0;
    if (locks(state)) return 1;
    return state.transactionState != 0 ? 2 : kNoHolder;
}

}  // namespace

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
            if (!own && rankOf(handle.state) != kNoHolder) holders.push_back(place);
        }
    }
    std::stable_sort(holders.begin(), holders.end(), [&](std::uint32_t left, std::uint32_t right) {
        return rankOf(record.fileHandles[left].state) < rankOf(record.fileHandles[right].state);
    });
    return holders;
}

}  // namespace vexo
