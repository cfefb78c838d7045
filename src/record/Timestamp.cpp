// SPDX-License-Identifier: MIT
#include "record/Timestamp.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace vexo {

std::string timestamp(std::int64_t epochMs) {
    constexpr std::int64_t kMillisPerSecond = 1000;
    const std::int64_t instant = std::clamp(epochMs, kFirstEpochMs, kLastEpochMs);
    const std::int64_t millis = (instant % kMillisPerSecond + kMillisPerSecond) % kMillisPerSecond;
    const auto seconds = static_cast<std::time_t>((instant - millis) / kMillisPerSecond);
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    std::array<char, 80> text;
    const int size =
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900,
                      utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<int>(millis));
    return {text.data(), static_cast<std::size_t>(size)};
}

}  // namespace vexo
