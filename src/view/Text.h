// SPDX-License-Identifier: MIT
// Text of a screen: the program's own texts in UTF-8, and how wide a terminal shows them.
#ifndef VEXO_VIEW_TEXT_H
#define VEXO_VIEW_TEXT_H

#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/String.h"
#include "messages/MessageHelper.h"

namespace vexo {

// UTF-8, whatever the environment's encoding, and safe to print.
std::string screenText(StringView text);
// Bytes of the engine or of a recording, safe to print: as safeText(), and without what no terminal has a width for. What is
// no UTF-8 is taken for text in the environment's encoding.
std::string screenText(std::string_view bytes);

// Columns of a terminal: none for combining marks, two for wide characters. By the C library's tables for UTF-8, which
// terminal programs use too, in any locale. Of text that is safe to print.
int widthOf(std::string_view text);

// What stands, in each of its columns, for a character that cannot be shown.
wchar_t substituteFor(wchar_t character);

// Where a text gives way when it is too long.
enum class Cut { kStart, kMiddle, kEnd };

// `text` in at most so many columns; where something is left out, there is an ellipsis.
std::string cutTo(std::string_view text, int columns, Cut cut);
// `text`, which is not wider, with blanks behind it (or in front of it) for exactly so many columns.
std::string leftIn(std::string_view text, int columns);
std::string rightIn(std::string_view text, int columns);

// The texts of the views.
class Texts {
public:
    Texts();
    // The text of a key. Valid as long as this.
    const std::string& operator[](const char* key) const;
    // The text of a key that ends in `word`, in upper case.
    const std::string& ofWord(const char* keyStart, std::string_view word) const;
    // With arguments, which are ASCII.
    std::string format(const char* key, const std::string& first, const std::string& second = {}) const;

private:
    MessageHelper m_messages;
    mutable std::unordered_map<std::string, std::string> m_known;
};

}  // namespace vexo

#endif
