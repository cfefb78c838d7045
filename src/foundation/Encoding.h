// SPDX-License-Identifier: MIT
// Between wide text and the bytes of files, terminals, command lines and the engine.
#ifndef VEXO_FOUNDATION_ENCODING_H
#define VEXO_FOUNDATION_ENCODING_H

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/String.h"

namespace vexo {

// Takes LC_CTYPE from the environment; the C and POSIX locales, and one that is not installed, mean UTF-8. Times and
// numbers keep the C locale. Call it once, before any text is converted.
void useEnvironmentEncoding();

// Wide text of `bytes`. Never fails and never loses: a byte below 0x80 is ASCII in every locale, and any other that is
// not part of a character which encodes back to the same bytes becomes U+DC00 + byte. narrow() gives the bytes again.
String widen(std::string_view bytes);
void appendWide(String& out, std::string_view bytes);

// The bytes of `text`. A character that the encoding does not have becomes '?'.
std::string narrow(StringView text);

// The same between wide text and UTF-8, whatever the encoding: for what is kept and read elsewhere.
String widenUtf8(std::string_view bytes);
std::string narrowUtf8(StringView text);

// Whether the encoding has the character.
bool isEncodable(wchar_t c);

// Writes the bytes of `text` to `out`, which must have room for maxNarrowSize(text.size()) of them; gives the end.
char* narrowInto(char* out, StringView text);
std::size_t maxNarrowSize(std::size_t characters);

// The longest start of `text` whose bytes fit into `limit`, never a part of a character.
std::string narrowUpTo(StringView text, std::size_t limit);

}  // namespace vexo

#endif
