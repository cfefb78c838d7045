// SPDX-License-Identifier: MIT
// Fetches single texts from named bundles. Nothing is kept between two calls, and nothing is thrown for a missing text.
#ifndef VEXO_MESSAGES_CMSGSTRINGS_H
#define VEXO_MESSAGES_CMSGSTRINGS_H

#include "foundation/String.h"

namespace vexo {

class CMSGStrings {
public:
    CMSGStrings() = delete;

    // The text under `key`; the key itself when the bundle lacks it, a sentence when there is no such bundle.
    static void MakeResourceString(const String& bundleName, const String& key, String& out);

    // The rest has no caller in the monitor: it is part of the class's published interface.

    // Title and message of a message box; without a bundle name, those of "XRMSG".
    static void PrepareDialog(const String& bundleName, const String& titleKey, const String& messageKey, String& title,
                              String& message);
    static void PrepareDialog(const String& titleKey, const String& messageKey, String& title, String& message);

    // Builds a key, not a text: the prefix ("LK_MSG_" where none is given) and the trimmed key, every "-" of it as "N".
    static void MakeResString(const String& prefix, const String& key, String& out);
    static void MakeResString(const String& key, String& out);
    static void MakeResString(const String& prefix, int code, String& out);
    static void MakeResString(int code, String& out);
};

}  // namespace vexo

#endif
