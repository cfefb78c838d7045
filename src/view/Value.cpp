// SPDX-License-Identifier: MIT
#include "view/Value.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "record/PointInTime.h"

namespace vexo {
namespace {

std::string fixed(double number, int decimals) {
    std::array<char, 400> text{};  // for the largest of all numbers
    std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
    return text.data();
}

// Three digits at most, and the unit by which the number was divided.
std::string scaled(double number, double step, std::string_view units) {
    double divisor = 1;
    std::size_t unit = 0;
    for (; unit < units.size() && std::fabs(number) / divisor >= step - 0.5; ++unit)
        divisor *= step;
    if (unit == 0) return fixed(number, 0);
    return fixed(number / divisor, std::fabs(number) / divisor < 9.95 ? 1 : 0) + units[unit - 1];
}

constexpr std::string_view kDecimalUnits = "kMGTPE";
constexpr std::string_view kBinaryUnits = "KMGTPE";

// In full where there is room.
std::string shownCount(double count, int columns) {
    const std::string whole = fixed(count, 0);
    return static_cast<int>(whole.size()) <= columns ? whole : scaled(count, 1000, kDecimalUnits);
}

std::string shownRate(double rate, int columns) {
    if (rate == 0) return "0";
    if (rate < 0.05) return "<0.1";
    if (rate >= 9.95) return shownCount(rate, columns);
    const std::string text = fixed(rate, 1);
    return text.substr(text.size() - 2) == ".0" ? text.substr(0, text.size() - 2) : text;
}

std::string shownBytes(double bytes) {
    // What rounds to nothing is nothing: a file grows by kilobytes.
    return std::fabs(bytes) < 0.5 ? "0" : scaled(bytes, 1024, kBinaryUnits);
}

// A bar ends in a bracket where there is a limit to reach.
std::string shownBar(const Value& value, int columns) {
    const int length = columns - 2;
    if (length < 1) return {};
    const auto place = [&](double share) {
        return static_cast<std::size_t>(std::lround(std::clamp(share, 0.0, 1.0) * length));
    };
    std::string bar(static_cast<std::size_t>(length), ' ');
    std::fill_n(bar.begin(), place(value.number), '#');
    if (const std::size_t peak = place(value.peak); peak > 0) bar[peak - 1] = '|';
    return "[" + bar + (value.isOpen ? " " : "]");
}

std::string shownText(const Value& value, int columns, Cut cut) {
    const int beside = widthOf(value.before) + widthOf(value.behind);
    if (beside >= columns) return cutTo(value.before + screenText(value.text) + value.behind, columns, cut);
    return value.before + cutTo(screenText(value.text), columns - beside, cut) + value.behind;
}

std::string shownNumber(const Value& value, int columns) {
    switch (value.kind) {
        case Value::Kind::kCount:
            return shownCount(value.number, columns);
        case Value::Kind::kBytes:
        case Value::Kind::kByteRate:
            return shownBytes(value.number);
        case Value::Kind::kRate:
            return shownRate(value.number, columns);
        case Value::Kind::kShare:
            return fixed(value.number * 100, 0);
        case Value::Kind::kMillis:
            return shownDuration(value.number);
        case Value::Kind::kAtLeast:
            return ">=" + shownWholeSeconds(value.number);
        case Value::Kind::kClock:
            return shownClock(static_cast<std::int64_t>(value.number));
        case Value::Kind::kBar:
            return shownBar(value, columns);
        default:
            return "-";
    }
}

}  // namespace

std::string shownClock(std::int64_t epochMs) {
    const std::string whole = localTime(epochMs);
    const std::size_t blank = whole.find(' ');
    return blank == std::string::npos ? whole
                                      : whole.substr(blank + 1, whole.find_first_of(" +-", blank + 1) - blank - 1);
}

std::string shownDuration(double millis) {
    constexpr double kSecond = 1000;
    const long long seconds = std::llround(millis / kSecond);
    const long long minutes = seconds / 60;
    const long long hours = minutes / 60;
    const auto inParts = [](long long whole, const char* unit, long long part) {
        return std::to_string(whole) + unit + (part < 10 ? "0" : "") + std::to_string(part);
    };
    if (millis < 10 * kSecond && std::lround(millis / 100) % 10 != 0) return fixed(millis / kSecond, 1) + "s";
    if (seconds < 120) return std::to_string(seconds) + "s";
    if (minutes < 10) return inParts(minutes, "m", seconds % 60);
    if (hours < 2) return std::to_string(minutes) + "m";
    if (hours < 48) return inParts(hours, "h", minutes % 60);
    return inParts(hours / 24, "d", hours % 24) + "h";
}

std::string shownWholeSeconds(double millis) {
    return shownDuration(std::floor(millis / 1000) * 1000);
}

std::string shown(const Value& value, int columns, Cut cut) {
    if (value.kind == Value::Kind::kText) return shownText(value, columns, cut);
    return cutTo(value.before + shownNumber(value, columns) + value.behind, columns, Cut::kEnd);
}

}  // namespace vexo
