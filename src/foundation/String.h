// SPDX-License-Identifier: MIT
// Wide text and the few operations on it that the program needs.
#ifndef VEXO_FOUNDATION_STRING_H
#define VEXO_FOUNDATION_STRING_H

#include <string>
#include <string_view>
#include <vector>

namespace vexo {

using String = std::wstring;
using StringView = std::wstring_view;

// What counts as blank at the ends of a setting or a number.
inline constexpr StringView kBlanks = L" \t\r\n";

// `text` without blanks at both ends.
StringView trim(StringView text);

// `text` in upper case, by the current LC_CTYPE. A letter whose capital the encoding lacks stays as it is.
String toUpper(StringView text);

// Appends `text` in upper case to `out`.
void appendUpper(String& out, StringView text);

// Whether both texts are the same when case does not count.
bool equalsIgnoreCase(StringView left, StringView right);

// Whether `text` begins with `prefix` when case does not count.
bool startsWithIgnoreCase(StringView text, StringView prefix);

// The pieces of `text` between the separators. Empty pieces are dropped.
std::vector<StringView> split(StringView text, wchar_t separator);

}  // namespace vexo

#endif
