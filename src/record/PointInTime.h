// SPDX-License-Identifier: MIT
// Instants as users write and read them.
#ifndef VEXO_RECORD_POINTINTIME_H
#define VEXO_RECORD_POINTINTIME_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vexo {

// Which instant a local time means where the clocks are set back and show it twice.
enum class TwiceShown : std::uint8_t {
    kFirst,
    kLast,
};

// The instant (UTC, milliseconds since 1970) that a user means: "2026-11-21T14:00", with seconds or without, with "Z" or an
// offset such as "+01:00" behind it or else in local time; "14:00" for the last such before `nowMs`; "-2h" for so long
// before it (units as of parseDuration()); "@1795269600" for seconds since 1970. A local time that is left out when the
// clocks are set forward is counted on from the time before. None for any other text.
std::optional<std::int64_t> parsePointInTime(std::string_view text, std::int64_t nowMs,
                                             TwiceShown twice = TwiceShown::kFirst);

// The local time with its zone, such as "2026-11-21 14:03:20 +01:00".
std::string localTime(std::int64_t epochMs);

}  // namespace vexo

#endif
