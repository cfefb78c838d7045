// SPDX-License-Identifier: MIT
#include "foundation/String.h"

#include <algorithm>
#include <cwctype>

#include "foundation/Encoding.h"

namespace vexo {
namespace {

wchar_t upper(wchar_t c) {
    if (c < 0x80) return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
    const auto capital = static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(c)));
    // ISO 8859-1 has a small y with diaeresis and a micro sign, but not their capitals.
    return capital == c || isEncodable(capital) ? capital : c;
}

}  // namespace

StringView trim(StringView text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == StringView::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

String toUpper(StringView text) {
    String result;
    appendUpper(result, text);
    return result;
}

void appendUpper(String& out, StringView text) {
    const std::size_t start = out.size();
    out.resize(start + text.size());
    std::transform(text.begin(), text.end(), out.data() + start, [](wchar_t c) { return upper(c); });
}

bool equalsIgnoreCase(StringView left, StringView right) {
    return left.size() == right.size() && startsWithIgnoreCase(left, right);
}

bool startsWithIgnoreCase(StringView text, StringView prefix) {
    return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(),
                                                      [](wchar_t a, wchar_t b) { return upper(a) == upper(b); });
}

std::vector<StringView> split(StringView text, wchar_t separator) {
    std::vector<StringView> pieces;
    while (!text.empty()) {
        const auto end = text.find(separator);
        if (end != 0) pieces.push_back(text.substr(0, end));
        if (end == StringView::npos) break;
        text.remove_prefix(end + 1);
    }
    return pieces;
}

}  // namespace vexo
