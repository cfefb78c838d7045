// SPDX-License-Identifier: MIT
// Who waits for whom, as far as a record tells.
#ifndef VEXO_VIEW_WAITFOREST_H
#define VEXO_VIEW_WAITFOREST_H

#include <cstdint>
#include <vector>

#include "record/Record.h"

namespace vexo {

inline constexpr std::uint32_t kNowhere = UINT32_MAX;

// A wait, and where it stands in the tree of those who wait for each other.
struct WaitNode {
    std::uint32_t holder = kNowhere;  // the likeliest one, among the record's handles of files
    std::uint32_t candidates = 0;     // it and the others
    bool isCertain = false;           // nobody else can hold what is waited for
    std::uint32_t parent = kNowhere;  // the wait of the holder, where it waits itself
    bool closesCycle = false;         // the holder waits too, for this one in the end; without a parent therefore
    std::uint32_t depth = 0;
    std::uint32_t blocked = 0;  // waits below this one
};

// By the places of record.waits. Every wait stands below one other at most.
std::vector<WaitNode> waitForest(const Record& record);

}  // namespace vexo

#endif
