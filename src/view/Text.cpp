// SPDX-License-Identifier: MIT
#include "view/Text.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <iterator>
#include <vector>

#include "Utf8.h"
#include "foundation/Encoding.h"
#include "record/JsonText.h"
#include "record/SafeText.h"

namespace vexo {
namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

bool isPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

std::string inUtf8(StringView text) {
    std::string bytes;
    for (const wchar_t c : text) {
        // What was no character is kept as U+DC00 + byte.
        const auto code = static_cast<char32_t>(c);
        if (code >= 0xDC80 && code <= 0xDCFF) {
            bytes += static_cast<char>(static_cast<unsigned char>(code));
        } else {
            utf8::append(bytes, code);
        }
    }
    return bytes;
}

// The calling thread classifies characters as Unicode does, for as long as this lives.
class UnicodeClasses {
public:
    UnicodeClasses() : m_before(::uselocale(unicode())) {}
    ~UnicodeClasses() { ::uselocale(m_before); }
    UnicodeClasses(const UnicodeClasses&) = delete;
    UnicodeClasses& operator=(const UnicodeClasses&) = delete;

private:
    // Without the locale, which belongs to the C library itself, that of the thread has to do.
    static locale_t unicode() {
        static const locale_t known = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return known;
    }
    const locale_t m_before;
};

// A character of a text, and the combining marks behind it: what is cut as one.
struct Cluster {
    std::size_t bytes = 0;
    int width = 0;
};

std::vector<Cluster> clustersOf(std::string_view text) {
    const UnicodeClasses classes;
    std::vector<Cluster> clusters;
    while (!text.empty()) {
        const utf8::Character character = utf8::firstCharacter(text);
        const std::size_t size = std::max<std::size_t>(character.size, 1);
        const int width = std::max(::wcwidth(static_cast<wchar_t>(character.code)), 0);
        if (width == 0 && !clusters.empty()) {
            clusters.back().bytes += size;
        } else {
            clusters.push_back({size, width});
        }
        text.remove_prefix(size);
    }
    return clusters;
}

// How many bytes at the start of the clusters fit into so many columns.
template <typename Iterator>
std::size_t bytesThatFit(Iterator first, Iterator last, int columns) {
    std::size_t bytes = 0;
    for (; first != last && first->width <= columns; ++first) {
        columns -= first->width;
        bytes += first->bytes;
    }
    return bytes;
}

}  // namespace

std::string screenText(StringView text) {
    return screenText(std::string_view(inUtf8(text)));
}

std::string screenText(std::string_view bytes) {
    if (isPlain(bytes)) return std::string(bytes);
    const std::string safe = isUtf8(bytes) ? safeText(bytes) : safeText(inUtf8(widen(bytes)));
    const UnicodeClasses classes;
    std::string text;
    for (std::string_view rest = safe; !rest.empty();) {
        const utf8::Character character = utf8::firstCharacter(rest);
        const std::string_view one = rest.substr(0, std::max<std::size_t>(character.size, 1));
        if (::wcwidth(static_cast<wchar_t>(character.code)) >= 0) {
            text += one;
        } else {
            std::array<char, 16> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u{%x}", static_cast<unsigned>(character.code));
            text += escape.data();
        }
        rest.remove_prefix(one.size());
    }
    return text;
}

int widthOf(std::string_view text) {
    if (isPlain(text)) return static_cast<int>(text.size());
    int width = 0;
    for (const Cluster& cluster : clustersOf(text))
        width += cluster.width;
    return width;
}

wchar_t substituteFor(wchar_t character) {
    return character == L'…' ? L'~' : L'?';
}

std::string cutTo(std::string_view text, int columns, Cut cut) {
    if (widthOf(text) <= columns) return std::string(text);
    if (columns <= 0) return {};
    const std::vector<Cluster> clusters = clustersOf(text);
    const int room = columns - 1;  // beside the ellipsis
    const int ending = cut == Cut::kEnd ? 0 : cut == Cut::kStart ? room : room / 2;
    const std::size_t head = bytesThatFit(clusters.begin(), clusters.end(), room - ending);
    const std::size_t tail = bytesThatFit(clusters.rbegin(), clusters.rend(), ending);
    return std::string(text.substr(0, head)).append(kEllipsis).append(text.substr(text.size() - tail));
}

std::string leftIn(std::string_view text, int columns) {
    return std::string(text).append(static_cast<std::size_t>(std::max(columns - widthOf(text), 0)), ' ');
}

std::string rightIn(std::string_view text, int columns) {
    return std::string(static_cast<std::size_t>(std::max(columns - widthOf(text), 0)), ' ').append(text);
}

Texts::Texts() : m_messages("TOP", "TOP_VIEW_") {
}

const std::string& Texts::operator[](const char* key) const {
    const auto known = m_known.find(key);
    if (known != m_known.end()) return known->second;
    return m_known.emplace(key, screenText(m_messages.getResStr(key))).first->second;
}

const std::string& Texts::ofWord(const char* keyStart, std::string_view word) const {
    std::string key = keyStart;
    std::transform(word.begin(), word.end(), std::back_inserter(key),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return (*this)[key.c_str()];
}

std::string Texts::format(const char* key, const std::string& first, const std::string& second) const {
    return screenText(m_messages.getResStr(key, first.c_str(), second.c_str()));
}

}  // namespace vexo
