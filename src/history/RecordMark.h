// SPDX-License-Identifier: MIT
// Records of a history by their numbers.
#ifndef VEXO_HISTORY_RECORDMARK_H
#define VEXO_HISTORY_RECORDMARK_H

#include <cstdint>

namespace vexo {

// A record: its number, and when it began.
struct RecordMark {
    std::uint64_t number = 0;
    std::int64_t epochMs = 0;  // UTC, milliseconds since 1970
};

// From one record to another, both inclusive.
struct RecordRange {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

}  // namespace vexo

#endif
