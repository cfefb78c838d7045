// SPDX-License-Identifier: MIT
// How a settings file is written: for whoever takes its values, and for whoever examines them.
#ifndef VEXO_CONFIG_SETTINGLINE_H
#define VEXO_CONFIG_SETTINGLINE_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "foundation/String.h"

namespace vexo {

inline constexpr std::int32_t kMinRefreshSeconds = 5;
// Far longer than any setting, yet little memory when the file is not text at all.
inline constexpr std::size_t kMaxSettingLineBytes = std::size_t{1} << 20U;

// What a line sets, as parts of it. Blanks around "=" belong to name and value.
struct SettingLine {
    StringView name;
    StringView value;        // empty when the line has more than two pieces
    std::size_t pieces = 0;  // between the equals signs, the empty ones left out
};

// The line without blanks around it; empty for a comment.
StringView settingIn(StringView line);

// Takes apart what settingIn() gives; none for what sets nothing.
std::optional<SettingLine> takeApart(StringView setting);

// What of a name counts: its first four letters, in upper case.
String keyOf(StringView name);

}  // namespace vexo

#endif
