// SPDX-License-Identifier: MIT
// A text that the user types in the last line.
#ifndef VEXO_VIEW_PROMPT_H
#define VEXO_VIEW_PROMPT_H

#include <string>

#include "view/Key.h"
#include "view/Picture.h"
#include "view/Text.h"

namespace vexo {

class Prompt {
public:
    enum class State : std::uint8_t { kOpen, kAccepted, kCancelled };

    // `label` is shown in front; `text` is there to begin with.
    Prompt(std::string label, std::string text) : m_label(std::move(label)), m_text(std::move(text)) {}

    const std::string& text() const { return m_text; }
    State press(Key key);
    // The line; `cursor` becomes the column behind the text.
    Line line(int columns, int& cursor) const;

private:
    std::string m_label;
    std::string m_text;
};

}  // namespace vexo

#endif
