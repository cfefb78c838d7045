// SPDX-License-Identifier: MIT
// Lengths of time in milliseconds.
#ifndef VEXO_REPORT_TIMEUNITS_H
#define VEXO_REPORT_TIMEUNITS_H

#include <cstdint>

namespace vexo {

inline constexpr std::int64_t kSecond = 1000;
inline constexpr std::int64_t kMinute = 60 * kSecond;
inline constexpr std::int64_t kHour = 60 * kMinute;
inline constexpr std::int64_t kDay = 24 * kHour;

}  // namespace vexo

#endif
