// SPDX-License-Identifier: MIT
// Bytes as the content of a JSON string.
#ifndef VEXO_RECORD_JSONTEXT_H
#define VEXO_RECORD_JSONTEXT_H

#include <optional>
#include <string>
#include <string_view>

namespace vexo {

bool isUtf8(std::string_view bytes);
// `bytes` with U+FFFD for each byte that is not part of a UTF-8 sequence.
std::string replacedText(std::string_view bytes);
// Appends `text`, which is UTF-8, as JSON has it between quotes.
void appendEscaped(std::string& out, std::string_view text);

// Two lower-case digits a byte.
void appendHex(std::string& out, std::string_view bytes);
// The bytes of such digits; none for anything else.
std::optional<std::string> bytesOfHex(std::string_view digits);

}  // namespace vexo

#endif
