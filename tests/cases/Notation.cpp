// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cwchar>
#include <regex>

#include "Case.h"

namespace cases {
namespace {

using Place = Lines::const_iterator;

constexpr std::ptrdiff_t kContext = 3;
constexpr std::ptrdiff_t kShown = 12;

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

// One line without its line feed. What is UTF-8 stays readable.
std::string escaped(const std::string& line) {
    std::string notation;
    for (std::size_t at = 0; at < line.size();) {
        const char c = line[at];
        wchar_t wide = 0;
        std::mbstate_t state{};
        const std::size_t length = std::mbrtowc(&wide, line.data() + at, line.size() - at, &state);
        if (length > 1 && length <= line.size() - at) {
            notation += line.substr(at, length);
            at += length;
            continue;
        }
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        const bool lastBlank = c == ' ' && at + 1 == line.size();
        const bool plain = std::isprint(static_cast<unsigned char>(c)) != 0;
        notation += c == '\t' ? "\\t" : c == '\\' ? "\\\\" : lastBlank ? "\\s" : plain ? std::string(1, c) : hex;
        ++at;
    }
    return notation;
}

// Where the beginning of a chunk agrees best, for the sake of the message.
Place closestTo(Place chunk, Place chunkEnd, Place from, Place end) {
    const auto agreement = [&](Place at) { return std::mismatch(chunk, chunkEnd, at, end).first - chunk; };
    Place best = from;
    for (Place at = from; at != end; ++at)
        if (agreement(at) > agreement(best)) best = at;
    return best;
}

std::string shown(const char* mark, Place from, Place end) {
    std::string text;
    for (Place line = from; line != end; ++line)
        text += mark + *line + "\n";
    return text;
}

}  // namespace

std::string decoded(const std::string& notation, const std::string& directory) {
    std::string bytes;
    for (std::size_t at = 0; at < notation.size(); ++at) {
        if (notation[at] != '\\' || at + 1 == notation.size()) {
            bytes += notation[at];
            continue;
        }
        const char c = notation[++at];
        if (c == 'x') {
            bytes += static_cast<char>(std::stoi(notation.substr(at + 1, 2), nullptr, 16));
            at += 2;
        } else {
            bytes += c == 't' ? '\t' : c == 's' ? ' ' : c == 'n' ? '\n' : c;
        }
    }
    replaceAll(bytes, "@DIR@", directory);
    replaceAll(bytes, "@SOURCE@", VEXO_SOURCE_DIR);
    return bytes;
}

std::string decoded(const Lines& block, const std::string& directory) {
    std::string bytes;
    for (const std::string& line : block)
        bytes += decoded(line, directory) + "\n";
    return bytes;
}

Lines notationOf(std::string text, const std::string& directory) {
    static const std::regex kIsoClock(
        R"~(("(time|start_record_time)": ")\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d{4}(?=",))~");
    static const std::regex kLongClock(R"((<)[A-Z][a-z]{2} [A-Z][a-z]{2} \d\d \d\d:\d\d:\d\d [A-Z]+ \d{4}(?=>))");
    static const std::regex kShortClock(R"((START RECORD )\d\d/\d\d/\d\d \d\d:\d\d [AP]M(?= \*\*\*))");
    for (const std::regex& clock : {kIsoClock, kLongClock, kShortClock})
        text = std::regex_replace(text, clock, "$1@TIME@");
    replaceAll(text, directory, "@DIR@");
    replaceAll(text, VEXO_SOURCE_DIR, "@SOURCE@");

    Lines lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        lines.push_back(escaped(text.substr(at, end - at)));
        if (end == std::string::npos) lines.back() += "@CUT@";
        at = end == std::string::npos ? text.size() : end + 1;
    }
    return lines;
}

std::string difference(const Lines& expected, const Lines& actual) {
    auto from = actual.begin();
    for (auto chunk = expected.begin();;) {
        // The lines up to the next gap stand at the beginning, at the end, or as early as they can.
        const auto chunkEnd = std::find(chunk, expected.end(), kAnyLines);
        const bool isFirst = chunk == expected.begin();
        const bool isLast = chunkEnd == expected.end();
        const auto size = chunkEnd - chunk;
        auto place = from;
        if (isLast && !isFirst) place = actual.end() - std::min(size, actual.end() - from);
        if (!isLast && !isFirst) place = std::search(from, actual.end(), chunk, chunkEnd);
        if (place == actual.end() && size > 0) place = closestTo(chunk, chunkEnd, from, actual.end());
        const auto [wanted, got] = std::mismatch(chunk, chunkEnd, place, actual.end());
        if (wanted != chunkEnd || (isLast && got != actual.end())) {
            return shown("    ", got - std::min(got - actual.begin(), kContext), got) +
                   shown("  - ", wanted, wanted + std::min(kShown, chunkEnd - wanted)) +
                   shown("  + ", got, got + std::min(kShown, actual.end() - got));
        }
        if (isLast) return "";
        from = got;
        chunk = chunkEnd + 1;
    }
}

}  // namespace cases
