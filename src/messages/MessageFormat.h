// SPDX-License-Identifier: MIT
// Formats a text from outside, printf-style, without trusting it.
#ifndef VEXO_MESSAGES_MESSAGEFORMAT_H
#define VEXO_MESSAGES_MESSAGEFORMAT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vexo {

// What a message may be given: a code or count, or a text in the encoding of the environment.
using MessageArgument = std::variant<int, const char*>;

// A formatted message is no longer than this, in bytes.
inline constexpr std::size_t kMaxMessageBytes = 2047;

// `text` with its conversions replaced by the arguments, cut to kMaxMessageBytes. Each conversion, in order or by
// position ("%2$s"), must name an argument of its type; a number may be asked for in any size. Arguments may go unused.
// A text that asks for anything else is given back as it is, cut likewise.
std::string formatMessage(std::string_view text, const std::vector<MessageArgument>& arguments);

// Whether every conversion of `text` names one of the arguments and fits its type.
bool agrees(std::string_view text, const std::vector<MessageArgument>& arguments);

}  // namespace vexo

#endif
