// SPDX-License-Identifier: MIT
// Looks up the texts of one bundle under one key prefix.
#ifndef VEXO_MESSAGES_MESSAGEHELPER_H
#define VEXO_MESSAGES_MESSAGEHELPER_H

#include <vector>

#include "foundation/Ref.h"
#include "foundation/String.h"
#include "messages/MessageFormat.h"

namespace vexo {

class MessageHelper : public RefCounted {
public:
    MessageHelper(const char* bundleName, const char* keyPrefix);

    // The text under prefix + `key`, formatted with the arguments: plain ints and narrow texts, as printf takes them.
    // A text that is missing is its key; nothing is thrown for one.
    template <typename... Arguments>
    String getResStr(const char* key, Arguments... arguments) const {
        return lookUp(key, {MessageArgument(arguments)...});
    }

private:
    String lookUp(const char* key, const std::vector<MessageArgument>& arguments) const;

    const String m_bundleName;
    const String m_keyPrefix;
};

}  // namespace vexo

#endif
