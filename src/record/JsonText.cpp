// SPDX-License-Identifier: MIT
#include "record/JsonText.h"

#include "Utf8.h"

namespace vexo {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::string_view kDigits = "0123456789abcdef";

bool isPlain(char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\';
}

void appendEscape(std::string& out, char c) {
    constexpr std::string_view kShort = "\"\\\b\f\n\r\t";
    constexpr std::string_view kLetters = "\"\\bfnrt";
    out += '\\';
    const auto known = kShort.find(c);
    if (known != std::string_view::npos) {
        out += kLetters[known];
        return;
    }
    out += "u00";
    appendHex(out, {&c, 1});
}

}  // namespace

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t size = utf8::firstCharacter(bytes).size;
        if (size == 0) return false;
        bytes.remove_prefix(size);
    }
    return true;
}

std::string replacedText(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::size_t size = utf8::firstCharacter(bytes).size;
        text += size != 0 ? bytes.substr(0, size) : kReplacement;
        bytes.remove_prefix(size != 0 ? size : 1);
    }
    return text;
}

void appendEscaped(std::string& out, std::string_view text) {
    std::size_t start = 0;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (isPlain(text[place])) continue;
        out.append(text, start, place - start);
        appendEscape(out, text[place]);
        start = place + 1;
    }
    out.append(text, start);
}

void appendHex(std::string& out, std::string_view bytes) {
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        out += kDigits[value >> 4U];
        out += kDigits[value & 0xFU];
    }
}

std::optional<std::string> bytesOfHex(std::string_view digits) {
    if (digits.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (std::size_t place = 0; place < digits.size(); place += 2) {
        const auto high = kDigits.find(digits[place]);
        const auto low = kDigits.find(digits[place + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos) return std::nullopt;
        bytes += static_cast<char>(high << 4U | low);
    }
    return bytes;
}

}  // namespace vexo
