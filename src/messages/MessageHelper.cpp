// SPDX-License-Identifier: MIT
#include "messages/MessageHelper.h"

#include "foundation/Encoding.h"
#include "foundation/Piece.h"
#include "messages/CMSGStrings.h"

namespace vexo {
namespace {

// A bundle's text is cut to this before its conversions are looked at.
constexpr std::size_t kMaxFormatBytes = 1023;

}  // namespace

MessageHelper::MessageHelper(const char* bundleName, const char* keyPrefix)
    : m_bundleName(widen(bundleName)), m_keyPrefix(widen(keyPrefix)) {
}

String MessageHelper::lookUp(const char* key, const std::vector<MessageArgument>& arguments) const {
    String text;
    CMSGStrings::MakeResourceString(m_bundleName, concat(m_keyPrefix, widen(key)), text);
    return widen(formatMessage(narrowUpTo(text, kMaxFormatBytes), arguments));
}

}  // namespace vexo
