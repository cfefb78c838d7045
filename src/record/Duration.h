// SPDX-License-Identifier: MIT
// Lengths of time as users write them.
#ifndef VEXO_RECORD_DURATION_H
#define VEXO_RECORD_DURATION_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace vexo {

// Milliseconds of a whole number with "ms", "s", "m", "h" or "d" behind it, or of seconds without a unit. None for any other
// text, and for what exceeds a thousand years.
std::optional<std::int64_t> parseDuration(std::string_view text);

}  // namespace vexo

#endif
