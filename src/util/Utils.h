// SPDX-License-Identifier: MIT
// Numbers, times, escapes and paths: what the whole program shares.
#ifndef VEXO_UTIL_UTILS_H
#define VEXO_UTIL_UTILS_H

#include <cstdint>
#include <memory>

#include "foundation/List.h"
#include "foundation/ResultCode.h"
#include "foundation/String.h"

namespace vexo {

// A published interface: parseLong, parseUint32, removeTabChars, fileExist, dirExist and most operations on lists have no
// caller in the monitor.
class Utils {
public:
    // Strict decimal numbers: blanks at both ends, a sign, digits, nothing else. Throw NumberFormatException, without
    // a message, for any other text and for a number out of range. Zero is recognised by its spelling "0" alone.
    static std::int32_t parseInt(StringView text);
    static std::int64_t parseLong(StringView text);
    // As above without a minus; a number above 4294967295 throws QRIException with status 7006.
    static std::uint32_t parseUint32(StringView text);

    // How long something has been up, such as "2 days  07:33:20".
    static String convertTimeInSecs(long seconds);
    // The local time in a pattern of strftime; empty when the result is longer than 99 bytes.
    static String getTime(const char* format);
    // Pads the dot-separated fields of an engine version: two digits, two digits, three digits.
    static void formatEngVerString(String& version);

    // Puts a backslash before each `c` among the first positions of the growing text; see the source.
    static void addBackslashChars(String& text, wchar_t c);
    static void removeTabChars(String& text);

    // Creates the directories of a file's path. kSuccess, or why one could not be created; those before it stay.
    static ResultCode createDirs(StringView path);
    static bool fileExist(StringView path);
    static bool dirExist(StringView path);

    // The words of a command line, the program's name included.
    static Ref<List<String>> convertToStringList(int argc, const char* const* argv);
    // Each element through parseInt, in a new array of the list's size.
    static std::unique_ptr<int[]> convertStringListToIntArray(const List<String>* list);
    static String convertStringListToString(const List<String>* list);
    // The elements with the delimiter between them, none after the last.
    static String createDelimitedStr(const List<String>* list, const char* delimiter);
};

}  // namespace vexo

#endif
