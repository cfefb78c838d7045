// SPDX-License-Identifier: MIT
// What the two directions of the form share.
#ifndef VEXO_RECORD_NDJSONFRAME_H
#define VEXO_RECORD_NDJSONFRAME_H

#include <string>
#include <string_view>

#include "record/Record.h"

namespace vexo {

// How every line of a record of `server` (bytes) begins, up to the quote before its kind. Of the record itself only the
// numbers and the time count.
std::string ndjsonPrefix(std::string_view server, const Record& record);

// How the others begin in a recording.
inline constexpr std::string_view kFramelessPrefix = "{\"kind\":\"";

// A text with its quotes; behind it, where it is not UTF-8, the field with its bytes.
void appendTextValue(std::string& out, std::string_view key, std::string_view bytes);
void appendHexField(std::string& out, std::string_view key, std::string_view bytes);

}  // namespace vexo

#endif
