// SPDX-License-Identifier: MIT
#include "messages/CMSGStrings.h"

#include <algorithm>

#include "foundation/Piece.h"
#include "messages/StringBundle.h"

namespace vexo {
namespace {

const wchar_t kKeyPrefix[] = L"LK_MSG_";

}  // namespace

void CMSGStrings::MakeResourceString(const String& bundleName, const String& key, String& out) {
    const auto bundle = StringBundle::open(bundleName);
    if (!bundle) {
        out = L"The resource bundle is not installed";
        return;
    }
    out = bundle->find(key).value_or(key);
}

void CMSGStrings::PrepareDialog(const String& bundleName, const String& titleKey, const String& messageKey,
                                String& title, String& message) {
    const auto bundle = StringBundle::open(bundleName);
    if (!bundle) {
        // Established output: both sentences name XRMSG, whichever bundle was asked for.
        message = L"The XRMSG resource bundle is not installed";
        title = L"XRMSG Resource Bundle Loading Error";
        return;
    }
    message = bundle->find(messageKey).value_or(messageKey);
    title = bundle->find(titleKey).value_or(titleKey);
}

void CMSGStrings::PrepareDialog(const String& titleKey, const String& messageKey, String& title, String& message) {
    PrepareDialog(L"XRMSG", titleKey, messageKey, title, message);
}

void CMSGStrings::MakeResString(const String& prefix, const String& key, String& out) {
    String name(trim(key));
    std::replace(name.begin(), name.end(), L'-', L'N');
    out = concat(prefix, name);
}

void CMSGStrings::MakeResString(const String& key, String& out) {
    MakeResString(kKeyPrefix, key, out);
}

void CMSGStrings::MakeResString(const String& prefix, int code, String& out) {
    MakeResString(prefix, decimal(code), out);
}

void CMSGStrings::MakeResString(int code, String& out) {
    MakeResString(kKeyPrefix, decimal(code), out);
}

}  // namespace vexo
