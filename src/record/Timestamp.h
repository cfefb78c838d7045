// SPDX-License-Identifier: MIT
// Instants as text.
#ifndef VEXO_RECORD_TIMESTAMP_H
#define VEXO_RECORD_TIMESTAMP_H

#include <cstdint>
#include <string>

namespace vexo {

// The instants that have four digits for their year.
inline constexpr std::int64_t kFirstEpochMs = -62'135'596'800'000;  // 0001-01-01T00:00:00.000Z
inline constexpr std::int64_t kLastEpochMs = 253'402'300'799'999;   // 9999-12-31T23:59:59.999Z

// An instant (UTC, milliseconds since 1970) in the form of RFC 3339, such as "2026-11-21T14:03:20.123Z". What lies
// outside the four-digit years is moved to their nearest end.
std::string timestamp(std::int64_t epochMs);

}  // namespace vexo

#endif
