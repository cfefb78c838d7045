// SPDX-License-Identifier: MIT
#include "record/PointInTime.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "record/Duration.h"
#include "record/Timestamp.h"

namespace vexo {

namespace {

constexpr std::int64_t kMillis = 1000;
constexpr int kSecondsPerHour = 3600;
constexpr int kSecondsPerMinute = 60;

// Reads a text from its front. Each operation takes nothing where it gives false or none.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_rest(text) {}

    bool isAtEnd() const { return m_rest.empty(); }
    bool take(char character) {
        if (m_rest.empty() || m_rest.front() != character) return false;
        m_rest.remove_prefix(1);
        return true;
    }
    // A number of so many digits, from `least` to `most`.
    std::optional<int> number(std::size_t digits, int least, int most) {
        if (m_rest.size() < digits || m_rest.front() == '-') return std::nullopt;
        int value = 0;
        const char* const end = m_rest.data() + digits;
        const auto [last, error] = std::from_chars(m_rest.data(), end, value);
        if (error != std::errc() || last != end || value < least || value > most) return std::nullopt;
        m_rest.remove_prefix(digits);
        return value;
    }
    // Digits of a fraction, as thousandths.
    int thousandths() {
        int value = 0;
        for (int weight = 100; !m_rest.empty() && m_rest.front() >= '0' && m_rest.front() <= '9'; weight /= 10) {
            value += weight * (m_rest.front() - '0');
            m_rest.remove_prefix(1);
        }
        return value;
    }

private:
    std::string_view m_rest;
};

bool scanDate(Scanner& scanner, std::tm& time) {
    const auto year = scanner.number(4, 1, 9999);
    if (!year || !scanner.take('-')) return false;
    const auto month = scanner.number(2, 1, 12);
    if (!month || !scanner.take('-')) return false;
    const auto day = scanner.number(2, 1, 31);
    if (!day) return false;
    time.tm_year = *year - 1900;
    time.tm_mon = *month - 1;
    time.tm_mday = *day;
    std::tm normal = time;
    ::timegm(&normal);
    return normal.tm_mday == *day;  // else the month has no such day
}

// The hour and minute, and the second where one is given.
bool scanTime(Scanner& scanner, std::tm& time, std::int64_t& millis) {
    const auto hour = scanner.number(2, 0, 23);
    if (!hour || !scanner.take(':')) return false;
    const auto minute = scanner.number(2, 0, 59);
    if (!minute) return false;
    time.tm_hour = *hour;
    time.tm_min = *minute;
    time.tm_sec = 0;
    if (!scanner.take(':')) return true;
    const auto second = scanner.number(2, 0, 60);
    if (!second) return false;
    time.tm_sec = *second;
    if (scanner.take('.') || scanner.take(',')) millis = scanner.thousandths();
    return true;
}

// Seconds east of Greenwich; none for a text that is no zone.
std::optional<int> scanZone(Scanner& scanner) {
    if (scanner.take('Z')) return 0;
    const int sign = scanner.take('-') ? -1 : 1;
    if (sign == 1 && !scanner.take('+')) return std::nullopt;
    const auto hours = scanner.number(2, 0, 23);
    if (!hours) return std::nullopt;
    scanner.take(':');
    const auto minutes = scanner.number(2, 0, 59);
    if (!minutes) return std::nullopt;
    return sign * (*hours * kSecondsPerHour + *minutes * kSecondsPerMinute);
}

// Seconds east of Greenwich.
long offsetAt(std::time_t instant) {
    std::tm local{};
    ::localtime_r(&instant, &local);
    return local.tm_gmtoff;
}

// Not mktime(), which decides by earlier calls.
std::int64_t localInstant(std::tm time, TwiceShown twice) {
    constexpr std::time_t kDay = 86'400;
    const std::time_t shown = ::timegm(&time);
    const std::time_t earlier = shown - offsetAt(shown - kDay);
    const std::time_t later = shown - offsetAt(shown + kDay);
    const auto isShownAt = [shown](std::time_t instant) { return instant + offsetAt(instant) == shown; };
    const bool isLater = isShownAt(later) && (twice == TwiceShown::kLast || !isShownAt(earlier));
    return std::int64_t{isLater ? later : earlier} * kMillis;
}

std::optional<std::int64_t> parseDateAndTime(Scanner scanner, TwiceShown twice) {
    std::tm time{};
    std::int64_t millis = 0;
    if (!scanDate(scanner, time)) return std::nullopt;
    if (scanner.isAtEnd()) return localInstant(time, twice);
    if ((!scanner.take('T') && !scanner.take(' ')) || !scanTime(scanner, time, millis)) return std::nullopt;
    if (scanner.isAtEnd()) return localInstant(time, twice) + millis;
    scanner.take(' ');
    const auto zone = scanZone(scanner);
    if (!zone || !scanner.isAtEnd()) return std::nullopt;
    return (std::int64_t{::timegm(&time)} - *zone) * kMillis + millis;
}

// The last such time of a day at or before `nowMs`.
std::optional<std::int64_t> parseTimeOfDay(Scanner scanner, std::int64_t nowMs) {
    const auto now = static_cast<std::time_t>(nowMs / kMillis);
    std::tm time{};
    std::int64_t millis = 0;
    ::localtime_r(&now, &time);
    if (!scanTime(scanner, time, millis) || !scanner.isAtEnd()) return std::nullopt;
    for (const TwiceShown twice : {TwiceShown::kLast, TwiceShown::kFirst}) {
        const std::int64_t today = localInstant(time, twice) + millis;
        if (today <= nowMs) return today;
    }
    --time.tm_mday;
    return localInstant(time, TwiceShown::kLast) + millis;
}

std::optional<std::int64_t> parseEpoch(std::string_view digits) {
    std::int64_t seconds = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
    const bool isWhole = error == std::errc() && end == digits.data() + digits.size();
    if (!isWhole || seconds < kFirstEpochMs / kMillis || seconds > kLastEpochMs / kMillis) return std::nullopt;
    return seconds * kMillis;
}

}  // namespace

std::optional<std::int64_t> parsePointInTime(std::string_view text, std::int64_t nowMs, TwiceShown twice) {
    if (text.empty()) return std::nullopt;
    if (text.front() == '@') return parseEpoch(text.substr(1));
    if (text.front() == '-') {
        const auto ago = parseDuration(text.substr(1));
        return ago ? std::optional(nowMs - *ago) : std::nullopt;
    }
    if (const auto ofDay = parseTimeOfDay(Scanner(text), nowMs)) return ofDay;
    return parseDateAndTime(Scanner(text), twice);
}

std::string localTime(std::int64_t epochMs) {
    std::int64_t seconds = epochMs / kMillis;
    if (epochMs % kMillis < 0) --seconds;
    const auto instant = static_cast<std::time_t>(seconds);
    std::tm local{};
    ::localtime_r(&instant, &local);
    const long offset = std::labs(local.tm_gmtoff);
    std::array<char, 96> text;
    const int size = std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d %c%02ld:%02ld",
                                   local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                                   local.tm_sec, local.tm_gmtoff < 0 ? '-' : '+', offset / kSecondsPerHour,
                                   offset % kSecondsPerHour / kSecondsPerMinute);
    return {text.data(), static_cast<std::size_t>(size)};
}

}  // namespace vexo
