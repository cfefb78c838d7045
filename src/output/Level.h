// SPDX-License-Identifier: MIT
// How severe a line is.
#ifndef VEXO_OUTPUT_LEVEL_H
#define VEXO_OUTPUT_LEVEL_H

#include <cstdint>

namespace vexo {

// As a threshold, kAll lets everything through and kNothing lets nothing.
enum class Level : std::int32_t {
    kAll = 0,
    kFinest = 1,
    kFiner = 2,
    kFine = 3,
    kConfig = 4,
    kInfo = 5,
    kWarning = 6,
    kSevere = 7,
    kNothing = 8
};

}  // namespace vexo

#endif
