// SPDX-License-Identifier: MIT
#include "http/Accept.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string>

namespace vexo {
namespace {

// Takes the part before the separator from `text`, without blanks around it.
std::string_view takePart(std::string_view& text, char separator) {
    constexpr std::string_view kBlanks = " \t";
    const auto end = std::min(text.find(separator), text.size());
    std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    part.remove_prefix(std::min(part.find_first_not_of(kBlanks), part.size()));
    const auto last = part.find_last_not_of(kBlanks);
    return last == std::string_view::npos ? std::string_view() : part.substr(0, last + 1);
}

struct MediaRange {
    std::string_view type;  // such as text/plain
    std::string_view version;
    double weight = 1;
};

// A weight that cannot be read, or lies outside 0 to 1, is none.
double weightOf(std::string_view text) {
    double weight = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), weight, std::chars_format::fixed);
    const bool read = error == std::errc() && end == text.data() + text.size();
    return read && weight >= 0 && weight <= 1 ? weight : 0;
}

MediaRange takeRange(std::string_view& accept) {
    std::string_view text = takePart(accept, ',');
    MediaRange range;
    range.type = takePart(text, ';');
    while (!text.empty()) {
        std::string_view value = takePart(text, ';');
        const std::string_view name = takePart(value, '=');
        if (name == "q") range.weight = weightOf(value);
        if (name == "version") range.version = value;
    }
    return range;
}

}  // namespace

ExpositionFormat formatFor(std::string_view accept) {
    std::string lower(accept);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    double openMetrics = 0;
    double text = 0;
    for (std::string_view rest = lower; !rest.empty();) {
        const MediaRange range = takeRange(rest);
        const bool readable = range.version.empty() || range.version == "1.0.0" || range.version == "\"1.0.0\"";
        if (range.type == "application/openmetrics-text" && readable) openMetrics = std::max(openMetrics, range.weight);
        if (range.type == "text/plain") text = std::max(text, range.weight);
    }
    return openMetrics > 0 && openMetrics >= text ? ExpositionFormat::kOpenMetrics : ExpositionFormat::kText;
}

}  // namespace vexo
