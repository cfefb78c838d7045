// SPDX-License-Identifier: MIT
#include "Texts.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

#include "Utf8.h"

namespace xr {

namespace {

// Bytes of the printable character at `position`, 0 if there is none: a control character of either range (the
// second one, U+0080 to U+009F, also moves a terminal's cursor) or a broken sequence.
std::size_t characterLength(std::string_view text, std::size_t position) {
    const utf8::Character character = utf8::firstCharacter(text.substr(position));
    const bool control = character.code < 0x20 || (character.code >= 0x7F && character.code < 0xA0);
    return control ? 0 : character.size;
}

std::string clean(std::string_view text, std::string_view refused) {
    std::string cleaned;
    cleaned.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t length = characterLength(text, position);
        if (length == 0 || refused.find(text[position]) != std::string_view::npos) {
            cleaned += '?';
            ++position;
        } else {
            cleaned += text.substr(position, length);
            position += length;
        }
    }
    return cleaned;
}

}  // namespace

std::string cleanText(std::string_view text) {
    return clean(text, "\"\\");
}

std::string cleanFileName(std::string_view name) {
    return clean(name, "\"");
}

std::string cleanLine(std::string_view text) {
    return clean(text, "");
}

std::string_view cutUtf8(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return text;
    while (limit > 0 && utf8::isContinuation(text[limit]))
        --limit;
    return text.substr(0, limit);
}

bool isDigits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::uint64_t toNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc::result_out_of_range ? std::numeric_limits<std::uint64_t>::max() : number;
}

std::uint32_t saturate(std::uint64_t value) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, std::numeric_limits<std::uint32_t>::max()));
}

std::int32_t saturateSigned(std::uint64_t value) {
    return static_cast<std::int32_t>(std::min<std::uint64_t>(value, std::numeric_limits<std::int32_t>::max()));
}

std::uint32_t kilobytes(std::uint64_t bytes) {
    return saturate(bytes / 1024 + (bytes % 1024 != 0 ? 1 : 0));
}

}  // namespace xr
