// SPDX-License-Identifier: MIT
#include "record/Duration.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace vexo {

std::optional<std::int64_t> parseDuration(std::string_view text) {
    constexpr std::int64_t kLongestMs = 365'250 * std::int64_t{86'400'000};
    constexpr std::array<std::pair<std::string_view, std::int64_t>, 6> kUnits = {
        {{"", 1000}, {"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}, {"d", 86'400'000}}
    };
    if (text.empty() || text.front() == '-') return std::nullopt;
    std::int64_t number = 0;
    const auto [digitsEnd, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    const std::string_view unit = text.substr(static_cast<std::size_t>(digitsEnd - text.data()));
    const auto* const known =
        std::find_if(kUnits.begin(), kUnits.end(), [unit](const auto& one) { return one.first == unit; });
    if (known == kUnits.end() || number > kLongestMs / known->second) return std::nullopt;
    return number * known->second;
}

}  // namespace vexo
