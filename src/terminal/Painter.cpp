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

// What stands for characters of our own where the terminal has none of them; each as wide as the original.
wchar_t substituteOf(wchar_t character) {
    constexpr std::pair<wchar_t, wchar_t> kSubstitutes[] = {
        {L'…', L'~'},
        {L'─', L'-'},
        {L'│', L'|'},
        {L'└', L'`'},
        {L'├', L'|'},
        {L'▸', L'>'},
        {L'▲', L'^'},
        {L'▼', L'v'},
        {L'█', L'#'},
        {L'░', L'.'},
    };
    for (const auto& [original, substitute] : kSubstitutes)
        if (original == character) return substitute;
    return L'?';
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

// A place of the screen and the marks on its character.
class Cell {
public:
    void begin(wchar_t character, int width) {
        m_text = {character};
        m_size = 1;
        m_width = width;
    }
    void mark(wchar_t combining) {
        if (m_size > 0 && m_size + 1 < m_text.size()) m_text[m_size++] = combining;
    }
    bool isEmpty() const { return m_size == 0; }
    int width() const { return m_width; }
    void put(int row, int column, attr_t attribute, short pair) const {
        cchar_t cell{};
        std::array<wchar_t, CCHARW_MAX + 1> text = m_text;
        text[m_size] = L'\0';
        if (::setcchar(&cell, text.data(), attribute, pair, nullptr) == OK) ::mvadd_wch(row, column, &cell);
    }

private:
    std::array<wchar_t, CCHARW_MAX + 1> m_text{};
    std::size_t m_size = 0;
    int m_width = 0;
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

// The column behind it. Every character has its place by its width, so that nothing shifts where a terminal or an encoding
// lacks one.
int Painter::putSpan(int row, int column, const Span& span) const {
    const attr_t attribute = attributeOf(span.style, m_hasColours);
    const short pair = pairOf(span.style, m_hasColours);
    Cell cell;
    const auto finish = [&] {
        if (!cell.isEmpty()) cell.put(row, column - cell.width(), attribute, pair);
    };
    for (std::string_view rest = span.text; !rest.empty();) {
        const utf8::Character decoded = utf8::firstCharacter(rest);
        const std::string_view one = rest.substr(0, decoded.size != 0 ? decoded.size : 1);
        rest.remove_prefix(one.size());
        const auto character = static_cast<wchar_t>(decoded.code);
        const int width = one.size() == 1 ? 1 : widthOf(one);
        const bool isKnown = decoded.size != 0 && m_alphabet.has(character);
        if (width == 0) {
            if (isKnown) cell.mark(character);
            continue;
        }
        finish();
        // As many substitutes as the character has columns.
        for (int place = isKnown ? width : 1; place < width; ++place) {
            cell.begin(L'?', 1);
            cell.put(row, column++, attribute, pair);
        }
        cell.begin(isKnown ? character : substituteOf(character), isKnown ? width : 1);
        column += cell.width();
    }
    finish();
    return column;
}

}  // namespace vexo
