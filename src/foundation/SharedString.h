// SPDX-License-Identifier: MIT
// A text that many records of a snapshot carry and that is kept once: a client holds handles on many files, a file
// has handles of many clients.
#ifndef VEXO_FOUNDATION_SHAREDSTRING_H
#define VEXO_FOUNDATION_SHAREDSTRING_H

#include <utility>

#include "foundation/Ref.h"
#include "foundation/String.h"

namespace vexo {

// An unchanging wide text; copies share it. Converts from and to the other forms of text.
class SharedString {
public:
    SharedString() = default;
    SharedString(String text) : m_text(text.empty() ? nullptr : makeRef<Text>(std::move(text))) {}
    SharedString(const wchar_t* text) : SharedString(String(text)) {}

    StringView view() const { return m_text ? StringView(m_text->value) : StringView(); }
    operator StringView() const { return view(); }
    bool empty() const { return !m_text; }

private:
    struct Text : RefCounted {
        explicit Text(String text) : value(std::move(text)) {}
        const String value;
    };

    Ref<Text> m_text;
};

}  // namespace vexo

#endif
