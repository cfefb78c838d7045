// SPDX-License-Identifier: MIT
#include "report/ReportText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "foundation/Encoding.h"
#include "messages/CMSGStrings.h"
#include "record/PointInTime.h"
#include "record/SafeText.h"
#include "record/Timestamp.h"
#include "report/TimeUnits.h"

namespace vexo {
namespace {

// Takes the conversion at the front of `text` ("%%", "%s", "%2$s") off and gives what stands for it.
std::string_view takeConversion(std::string_view& text, const std::initializer_list<std::string_view>& arguments,
                                std::size_t& next) {
    const auto argument = [&arguments](std::size_t place) {
        return place < arguments.size() ? arguments.begin()[place] : std::string_view();
    };
    const std::string_view percent = text.substr(0, 1);
    text.remove_prefix(1);
    if (text.substr(0, 1) == "%") {
        text.remove_prefix(1);
        return percent;
    }
    if (text.substr(0, 1) == "s") {
        text.remove_prefix(1);
        return argument(next++);
    }
    if (text.size() > 2 && text.substr(1, 2) == "$s" && text.front() >= '1' && text.front() <= '9') {
        const auto place = static_cast<std::size_t>(text.front() - '1');
        text.remove_prefix(3);
        return argument(place);
    }
    return percent;
}

std::string fixed(double value, int digits) {
    std::array<char, 400> buffer{};  // the largest double has 309 digits
    std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, value);
    return buffer.data();
}

}  // namespace

std::string escaped(std::string_view text) {
    std::string html;
    html.reserve(text.size());
    for (std::size_t place = 0; place < text.size(); ++place) {
        switch (text[place]) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            case '\xEF': {
                const std::string_view rest = text.substr(place, 3);
                const bool isNoCharacter = rest == "\xEF\xBF\xBE" || rest == "\xEF\xBF\xBF";
                html += isNoCharacter ? (rest.back() == '\xBE' ? "\\u{fffe}" : "\\u{ffff}") : rest.substr(0, 1);
                place += isNoCharacter ? 2 : 0;
                break;
            }
            default:
                html += text[place];
        }
    }
    return html;
}

std::string nameHtml(std::string_view bytes) {
    // No name of ours is so long; one of a damaged engine shall not swell the page.
    constexpr std::size_t kMostBytes = 300;
    std::string safe = safeText(bytes.substr(0, kMostBytes));
    if (bytes.size() > kMostBytes) safe += "...";
    return "<bdi>" + escaped(safe) + "</bdi>";
}

ReportText::ReportText() : m_group(plain("DIGIT_GROUP")), m_decimal(plain("DECIMAL")) {
}

std::string ReportText::plain(std::string_view key) const {
    String wide;
    CMSGStrings::MakeResourceString(L"REPORT", L"REPORT_" + widen(key), wide);
    return narrowUtf8(wide);
}

std::string ReportText::text(std::string_view key, std::initializer_list<std::string_view> arguments) const {
    const std::string pattern = escaped(plain(key));
    std::string_view rest = pattern;
    std::string html;
    std::size_t next = 0;
    for (;;) {
        const std::size_t conversion = std::min(rest.find('%'), rest.size());
        html += rest.substr(0, conversion);
        rest.remove_prefix(conversion);
        if (rest.empty()) return html;
        html += takeConversion(rest, arguments, next);
    }
}

std::string ReportText::counted(std::string_view key, std::uint64_t count,
                                std::initializer_list<std::string_view> more) const {
    const std::string written = number(count);
    constexpr std::size_t kMost = 8;
    std::array<std::string_view, kMost> arguments = {written};
    std::copy_n(more.begin(), std::min(more.size(), kMost - 1), arguments.begin() + 1);
    return text(std::string(key) + (count == 1 ? "_ONE" : "_MANY"),
                {arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5], arguments[6],
                 arguments[7]});
}

std::string ReportText::number(std::uint64_t value) const {
    std::string digits = std::to_string(value);
    constexpr std::size_t kGroup = 3;
    for (std::size_t place = digits.size(); place > kGroup;) {
        place -= kGroup;
        digits.insert(place, m_group);
    }
    return digits;
}

std::string ReportText::number(double value) const {
    const double magnitude = std::fabs(value);
    const int digits = magnitude == std::floor(magnitude) || magnitude >= 99.95 ? 0 : magnitude >= 9.995 ? 1 : 2;
    std::string written = fixed(magnitude, digits);
    const std::size_t point = written.find('.');
    std::string fraction = point == std::string::npos ? "" : written.substr(point + 1);
    while (!fraction.empty() && fraction.back() == '0')
        fraction.pop_back();
    constexpr double kLargest = 1e15;
    const std::string whole = magnitude < kLargest
                                  ? number(static_cast<std::uint64_t>(std::stoull(written.substr(0, point))))
                                  : written.substr(0, point);
    return (value < 0 && written != "0" ? "-" : "") + whole + (fraction.empty() ? "" : m_decimal + fraction);
}

std::string ReportText::amount(Quantity quantity, double value) const {
    if (quantity == Quantity::kCount) return number(value);
    if (quantity == Quantity::kPerSecond) return text("PER_SECOND", {number(value)});
    constexpr std::array<const char*, 5> kUnits = {"B", "KiB", "MiB", "GiB", "TiB"};
    constexpr double kStep = 1024;
    std::size_t unit = 0;
    while (std::fabs(value) >= kStep && unit + 1 < kUnits.size()) {
        value /= kStep;
        ++unit;
    }
    return number(value) + "\u00a0" + kUnits[unit];
}

std::string ReportText::percent(double share) const {
    // What is not all shall not read as if it were, nor what is something as nothing.
    double percents = std::round(share * 100);
    if (percents >= 100 && share < 1) percents = 99;
    if (percents <= 0 && share > 0) return text("PERCENT", {"&lt;" + number(std::uint64_t{1})});
    return text("PERCENT", {number(percents)});
}

std::string ReportText::duration(std::uint64_t milliseconds) const {
    constexpr std::uint64_t kTenthsBelow = 10 * kSecond;
    if (milliseconds < kTenthsBelow)
        return text("SECONDS",
                    {number(std::round(static_cast<double>(milliseconds) / static_cast<double>(kSecond) * 10) / 10)});
    struct Unit {
        std::uint64_t ms;
        const char* key;
    };
    static constexpr std::array<Unit, 4> kUnits = {
        {{kDay, "DAYS"}, {kHour, "HOURS"}, {kMinute, "MINUTES"}, {kSecond, "SECONDS"}}
    };
    // Two units are written, so the lesser one is rounded, which may make the greater one another.
    const auto unitOf = [](std::uint64_t length) {
        return std::find_if(kUnits.begin(), kUnits.end() - 1, [=](const Unit& one) { return one.ms <= length; });
    };
    const std::uint64_t least = std::min(unitOf(milliseconds) + 1, kUnits.end() - 1)->ms;
    const std::uint64_t rounded = (milliseconds + least / 2) / least * least;
    const auto* const unit = unitOf(rounded);
    std::string written = text(unit->key, {number(rounded / unit->ms)});
    const auto* const smaller = std::min(unit + 1, kUnits.end() - 1);
    const std::uint64_t rest = rounded % unit->ms / smaller->ms;
    return rest == 0 ? written : written + " " + text(smaller->key, {number(rest)});
}

std::string ReportText::instant(std::int64_t epochMs) const {
    return "<time datetime=\"" + timestamp(epochMs) + "\">" + escaped(localTime(epochMs)) + "</time>";
}

std::string ReportText::range(std::int64_t startMs, std::int64_t endMs) const {
    constexpr std::size_t kDateSize = 11;  // with the blank behind it
    const std::string start = localTime(startMs);
    std::string end = localTime(endMs);
    if (start == end) return instant(startMs);
    if (start.compare(0, kDateSize, end, 0, kDateSize) == 0) end.erase(0, kDateSize);
    // The zone is not repeated either.
    const std::size_t zone = start.rfind(' ');
    const bool sameZone = start.substr(zone) == end.substr(std::min(end.rfind(' '), end.size()));
    return text("FROM_TO", {"<time datetime=\"" + timestamp(startMs) + "\">" +
                                escaped(sameZone ? start.substr(0, zone) : start) + "</time>",
                            "<time datetime=\"" + timestamp(endMs) + "\">" + escaped(end) + "</time>"});
}

}  // namespace vexo
