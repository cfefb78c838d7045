// SPDX-License-Identifier: MIT
#include "terminal/Painter.h"

#include <langinfo.h>

#include <array>
#include <climits>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>
#include <utility>

#include "Utf8.h"
#include "terminal/Curses.h"
#include "view/Text.h"

namespace vexo {
namespace {

constexpr wchar_t kLastAscii = 0x7E;
constexpr short kWaitPair = 1;
constexpr short kGapPair = 2;

bool isAsciiLocale() {
    const locale_t environment = ::newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr));
    if (!environment) return false;
    const bool isAscii = std::strcmp(::nl_langinfo_l(CODESET, environment), "ANSI_X3.4-1968") == 0;
    ::freelocale(environment);
    return isAscii;
}

// Without colours what is to be seen is bold.
attr_t attributeOf(Style style, bool hasColours) {
    switch (style) {
        case Style::kStrong:
            return A_BOLD;
        case Style::kWait:
        case Style::kGap:
            return hasColours ? A_NORMAL : A_BOLD;
        case Style::kSelected:
            return A_REVERSE;
        default:
            return A_NORMAL;
    }
}

short pairOf(Style style, bool hasColours) {
    if (!hasColours) return 0;
    if (style == Style::kWait) return kWaitPair;
    return style == Style::kGap ? kGapPair : static_cast<short>(0);
}

// The first character of a text, and the bytes that it takes.
struct Glyph {
    wchar_t character = 0;
    int width = 1;
    std::size_t bytes = 1;
    bool isKnown = false;
};

Glyph firstGlyph(std::string_view text, const Alphabet& alphabet) {
    const utf8::Character decoded = utf8::firstCharacter(text);
    if (decoded.size == 0) return {};
    const auto character = static_cast<wchar_t>(decoded.code);
    const int width = decoded.size == 1 ? 1 : widthOf(text.substr(0, decoded.size));
    return {character, width, decoded.size, alphabet.has(character)};
}

// Writes characters one behind the other. Each has its place by its width, so that nothing shifts where a terminal or an
// encoding lacks one.
class Pen {
public:
    Pen(int row, int column, attr_t attribute, short pair)
        : m_row(row), m_column(column), m_attribute(attribute), m_pair(pair) {}
    ~Pen() { finish(); }
    Pen(const Pen&) = delete;
    Pen& operator=(const Pen&) = delete;

    // Behind the last character.
    int column() const { return m_column + m_width; }
    void put(wchar_t character, int width) {
        finish();
        m_column += m_width;
        m_width = width;
        m_text = {character};
        m_size = 1;
    }
    // A mark on the last character.
    void mark(wchar_t combining) {
        if (m_size > 0 && m_size + 1 < m_text.size()) m_text[m_size++] = combining;
    }

private:
    void finish() const {
        cchar_t cell{};
        if (m_size == 0) return;
        if (::setcchar(&cell, m_text.data(), m_attribute, m_pair, nullptr) == OK) ::mvadd_wch(m_row, m_column, &cell);
    }

    const int m_row;
    int m_column;
    const attr_t m_attribute;
    const short m_pair;
    int m_width = 0;
    std::array<wchar_t, CCHARW_MAX + 1> m_text{};  // ends with a NUL
    std::size_t m_size = 0;
};

}  // namespace

Alphabet::Alphabet() : m_isAscii(isAsciiLocale()) {
}

// What is printable is told by the C library, so that nothing that a view overlooked can reach the terminal.
bool Alphabet::has(wchar_t character) const {
    if (character >= L' ' && character <= kLastAscii) return true;
    if (character <= kLastAscii || m_isAscii || std::iswprint(static_cast<std::wint_t>(character)) == 0) return false;
    std::array<char, MB_LEN_MAX> bytes{};
    std::mbstate_t state{};
    return ::wcwidth(character) >= 0 && std::wcrtomb(bytes.data(), character, &state) != static_cast<std::size_t>(-1);
}

Painter::Painter(bool withColours) {
    // On the terminal's own background, or not at all: nobody knows what our own would look like beside it.
    constexpr int kFewest = 8;
    if (!withColours || !::has_colors() || ::start_color() != OK || COLORS < kFewest) return;
    if (::use_default_colors() != OK) return;
    ::init_pair(kWaitPair, COLOR_RED, -1);
    ::init_pair(kGapPair, COLOR_YELLOW, -1);
    m_hasColours = true;
}

void Painter::put(const Picture& picture) const {
    ::werase(::stdscr);
    int row = 0;
    for (const Line& line : picture.lines)
        putLine(row++, line);
    ::curs_set(picture.cursor ? 1 : 0);
    if (picture.cursor) ::wmove(::stdscr, picture.cursor->row, picture.cursor->column);
}

void Painter::putLine(int row, const Line& line) const {
    int column = 0;
    for (const Span& span : line)
        column = putSpan(row, column, span);
}

// The column behind it.
int Painter::putSpan(int row, int column, const Span& span) const {
    Pen pen(row, column, attributeOf(span.style, m_hasColours), pairOf(span.style, m_hasColours));
    for (std::string_view rest = span.text; !rest.empty();) {
        const Glyph glyph = firstGlyph(rest, m_alphabet);
        rest.remove_prefix(glyph.bytes);
        if (glyph.isKnown && glyph.width == 0) pen.mark(glyph.character);
        if (glyph.isKnown && glyph.width > 0) pen.put(glyph.character, glyph.width);
        if (glyph.isKnown) continue;
        // As many substitutes as the character has columns.
        for (int place = 0; place < glyph.width; ++place)
            pen.put(substituteFor(glyph.character), 1);
    }
    return pen.column();
}

}  // namespace vexo
