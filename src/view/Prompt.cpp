// SPDX-License-Identifier: MIT
#include "view/Prompt.h"

#include <algorithm>

#include "Utf8.h"

namespace vexo {
namespace {

constexpr std::size_t kMostBytes = 240;

bool isText(char32_t code) {
    return code >= 0x20 && (code < 0x7F || code >= 0xA0);
}

void removeLast(std::string& text) {
    while (!text.empty() && utf8::isContinuation(text.back()))
        text.pop_back();
    if (!text.empty()) text.pop_back();
}

}  // namespace

Prompt::State Prompt::press(Key key) {
    switch (key.kind) {
        case KeyKind::kEnter:
            return State::kAccepted;
        case KeyKind::kEscape:
            return State::kCancelled;
        case KeyKind::kBackspace:
        case KeyKind::kDelete:
            removeLast(m_text);
            break;
        case KeyKind::kCharacter:
            if (isText(key.character) && m_text.size() < kMostBytes) utf8::append(m_text, key.character);
            break;
        default:
            break;
    }
    return State::kOpen;
}

Line Prompt::line(int columns, int& cursor) const {
    // One column stays free for the cursor.
    const int most = std::max(columns - 1, 0);
    const std::string label = cutTo(m_label + ": ", most, Cut::kEnd);
    const std::string text = cutTo(screenText(std::string_view(m_text)), most - widthOf(label), Cut::kStart);
    cursor = widthOf(label) + widthOf(text);
    return {
        {label, Style::kStrong},
        {text,  Style::kPlain }
    };
}

}  // namespace vexo
