// SPDX-License-Identifier: MIT
#include "messages/MessageFormat.h"

#include <printf.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>

namespace vexo {
namespace {

// A width or precision of more digits is refused: formatting it could take seconds and gigabytes.
constexpr int kMaxDigits = 4;

// What may stand between the percent sign and the letter of a conversion.
constexpr std::string_view kLayout = "-+ #0'.123456789hljzt";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// A format ends at its NUL.
std::string_view untilNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

// Takes a position such as "2$" off the front of `text`; 0 when it is none that counts.
std::optional<std::size_t> takePosition(std::string_view& text) {
    std::size_t position = 0;
    const char* const textEnd = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), textEnd, position);
    if (end == textEnd || *end != '$') return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
    return error == std::errc() ? position : 0;
}

// Whether `conversion` is of a kind that messages may use: text, characters and whole numbers in a reasonable layout.
bool isAllowed(const std::string& conversion) {
    const char letter = conversion.back();
    const auto longNumber = std::search_n(conversion.begin(), conversion.end(), kMaxDigits + 1, '0',
                                          [](char c, char) { return isDigit(c); });
    // With a size, a text or character would be a wide one.
    const bool wide = (letter == 's' || letter == 'c') && conversion.find_first_of("hljzt") != std::string::npos;
    return std::string_view("diouxXcs").find(letter) != std::string_view::npos && !wide &&
           longNumber == conversion.end();
}

// The argument as `conversion`, a single one, formats it; nothing when it asks for another type.
std::optional<std::string> convert(const std::string& conversion, const MessageArgument& argument) {
    int type = -1;
    if (!isAllowed(conversion) || ::parse_printf_format(conversion.c_str(), 1, &type) != 1) return std::nullopt;
    const auto print = [&conversion](auto value) -> std::string {
        std::array<char, kMaxMessageBytes + 1> buffer{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // the format was checked against the argument
        std::snprintf(buffer.data(), buffer.size(), conversion.c_str(), value);
#pragma GCC diagnostic pop
        return buffer.data();
    };
    const int* const number = std::get_if<int>(&argument);
    if (!number) return type == PA_STRING ? std::optional(print(std::get<const char*>(argument))) : std::nullopt;
    const bool isSigned = conversion.back() == 'd' || conversion.back() == 'i';
    const long long wide = isSigned ? *number : static_cast<long long>(static_cast<unsigned int>(*number));
    switch (type) {
        case PA_INT:
        case PA_INT | PA_FLAG_SHORT:
        case PA_CHAR:
            return print(*number);
        case PA_INT | PA_FLAG_LONG:
            return print(static_cast<long>(wide));
        case PA_INT | PA_FLAG_LONG_LONG:
            return print(wide);
        default:
            return std::nullopt;
    }
}

// Finds the argument of each conversion: in order or by position, but not both in one text.
class Arguments {
public:
    explicit Arguments(const std::vector<MessageArgument>& arguments) : m_arguments(arguments) {}

    const MessageArgument* at(std::optional<std::size_t> position) {
        (position ? m_byPosition : m_inOrder) = true;
        const std::size_t index = position ? *position - 1 : m_next++;
        return index < m_arguments.size() && m_inOrder != m_byPosition ? &m_arguments[index] : nullptr;
    }

private:
    const std::vector<MessageArgument>& m_arguments;
    std::size_t m_next = 0;
    bool m_inOrder = false;
    bool m_byPosition = false;
};

// The formatted text, or nothing when text and arguments do not agree.
std::optional<std::string> tryFormat(std::string_view text, const std::vector<MessageArgument>& arguments) {
    std::string result;
    Arguments given(arguments);
    for (;;) {
        const std::size_t plain = text.find('%');
        result.append(text.substr(0, plain));
        if (plain == std::string_view::npos) return result;
        text.remove_prefix(plain + 1);
        if (text.substr(0, 1) == "%") {
            result += '%';
            text.remove_prefix(1);
            continue;
        }
        const MessageArgument* const argument = given.at(takePosition(text));
        const std::size_t letter = text.find_first_not_of(kLayout);
        if (!argument || letter == std::string_view::npos) return std::nullopt;
        const auto piece = convert("%" + std::string(text.substr(0, letter + 1)), *argument);
        if (!piece) return std::nullopt;
        result += *piece;
        text.remove_prefix(letter + 1);
    }
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
