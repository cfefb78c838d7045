// SPDX-License-Identifier: MIT
#include "messages/MessageFormat.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

namespace vexo {
namespace {

// Widths, precisions and positions beyond this many digits are no formatting but an attack.
constexpr std::size_t kMaxDigits = 4;

// A format ends at its NUL.
std::string_view untilNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

struct Conversion {
    std::size_t length = 0;    // bytes of the text, the percent sign included
    std::size_t position = 0;  // from 1; 0 is the next argument in order
    std::string layout;        // flags, width, precision and size, as they stand between "%" and the type
    char type = 0;             // '%' for a percent sign itself
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The digits at `at`, which moves behind them; nothing when there are too many.
std::optional<std::string> takeDigits(std::string_view text, std::size_t& at) {
    std::string digits;
    while (at < text.size() && isDigit(text[at]))
        digits += text[at++];
    if (digits.size() > kMaxDigits) return std::nullopt;
    return digits;
}

// Reads the conversion that begins at the percent sign `text` starts with; nothing when it is none that is allowed.
std::optional<Conversion> readConversion(std::string_view text) {
    Conversion conversion;
    std::size_t at = 1;
    const std::size_t start = at;
    const auto position = takeDigits(text, at);
    if (!position) return std::nullopt;
    if (!position->empty() && at < text.size() && text[at] == '$') {
        conversion.position = static_cast<std::size_t>(std::stoul(*position));
        if (conversion.position == 0) return std::nullopt;
        ++at;
    } else {
        at = start;
    }
    while (at < text.size() && std::string_view("-+ #0'").find(text[at]) != std::string_view::npos) {
        if (conversion.layout.size() > kMaxDigits) return std::nullopt;
        conversion.layout += text[at++];
    }
    const auto width = takeDigits(text, at);
    if (!width) return std::nullopt;
    conversion.layout += *width;
    if (at < text.size() && text[at] == '.') {
        const auto precision = takeDigits(text, ++at);
        if (!precision) return std::nullopt;
        conversion.layout += "." + *precision;
    }
    for (int shorter = 0; shorter < 2 && at < text.size() && text[at] == 'h'; ++shorter)
        conversion.layout += text[at++];
    if (at == text.size()) return std::nullopt;
    conversion.type = text[at++];
    conversion.length = at;
    if (conversion.type == '%' && conversion.length != 2) return std::nullopt;
    return conversion;
}

bool fits(const Conversion& conversion, const MessageArgument& argument) {
    if (std::holds_alternative<int>(argument)) {
        return std::string_view("diuxXoc").find(conversion.type) != std::string_view::npos;
    }
    return conversion.type == 's' && conversion.layout.find('h') == std::string::npos;
}

// One argument in the form that a checked conversion asks for.
std::string convert(const Conversion& conversion, const MessageArgument& argument) {
    const std::string format = "%" + conversion.layout + conversion.type;
    std::array<char, kMaxMessageBytes + 1> buffer{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // the format was checked against the argument
    if (const int* number = std::get_if<int>(&argument)) {
        std::snprintf(buffer.data(), buffer.size(), format.c_str(), *number);
    } else {
        std::snprintf(buffer.data(), buffer.size(), format.c_str(), std::get<const char*>(argument));
    }
#pragma GCC diagnostic pop
    return buffer.data();
}

// The formatted text, or nothing when text and arguments do not agree.
std::optional<std::string> tryFormat(std::string_view text, const std::vector<MessageArgument>& arguments) {
    std::string result;
    std::size_t next = 0;
    bool inOrder = false;
    bool byPosition = false;
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('%'), text.size());
        result.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) break;
        const auto conversion = readConversion(text);
        if (!conversion) return std::nullopt;
        text.remove_prefix(conversion->length);
        if (conversion->type == '%') {
            result += '%';
            continue;
        }
        (conversion->position == 0 ? inOrder : byPosition) = true;
        const std::size_t index = conversion->position == 0 ? next++ : conversion->position - 1;
        if (inOrder && byPosition) return std::nullopt;
        if (index >= arguments.size() || !fits(*conversion, arguments[index])) return std::nullopt;
        result += convert(*conversion, arguments[index]);
    }
    return result;
}

}  // namespace

std::string formatMessage(std::string_view text, const std::vector<MessageArgument>& arguments) {
    text = untilNul(text);
    std::string result = tryFormat(text, arguments).value_or(std::string(text));
    if (result.size() > kMaxMessageBytes) result.resize(kMaxMessageBytes);
    return result;
}

bool agrees(std::string_view text, const std::vector<MessageArgument>& arguments) {
    return tryFormat(untilNul(text), arguments).has_value();
}

}  // namespace vexo
