// SPDX-License-Identifier: MIT
#include "config/SettingLine.h"

#include <vector>

namespace vexo {

StringView settingIn(StringView line) {
    const StringView setting = trim(line);
    return setting.substr(0, 2) == L"//" ? StringView() : setting;
}

std::optional<SettingLine> takeApart(StringView setting) {
    if (setting.find(L'=') == StringView::npos) return std::nullopt;
    const std::vector<StringView> pieces = split(setting, L'=');
    if (pieces.empty()) return std::nullopt;
    // A value that holds "=" itself comes out empty.
    return SettingLine{pieces[0], pieces.size() == 2 ? pieces[1] : StringView(), pieces.size()};
}

String keyOf(StringView name) {
    constexpr std::size_t kKeyLength = 4;
    return toUpper(name.substr(0, kKeyLength));
}

}  // namespace vexo
