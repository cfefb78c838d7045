// SPDX-License-Identifier: MIT
// Named bundles of translated texts: property files, one for each language.
#ifndef VEXO_MESSAGES_STRINGBUNDLE_H
#define VEXO_MESSAGES_STRINGBUNDLE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/String.h"

namespace vexo {

// The text that property file `content` (UTF-8; `KEY=text`, comments, continuation lines and escapes as Java writes
// them) holds under `key`; of several, the last.
std::optional<String> findProperty(std::string_view content, StringView key);

// The files of one bundle, the most specific first: `<bundle>_<ll>_<CC>.properties`, `<bundle>_<ll>.properties`,
// `<bundle>.properties`. Each is looked for in the directories of VEXO_BUNDLE_PATH (separated by colons), then in
// ../share/vexo/bundles as seen from the program's own directory. The language is that of the first of LC_ALL,
// LC_MESSAGES and LANG that is set.
class StringBundle {
public:
    // Opens the bundle; nothing when none of its files can be read.
    static std::optional<StringBundle> open(StringView name);

    // The text under `key` from the most specific file that holds it.
    std::optional<String> find(StringView key) const;

private:
    std::vector<std::string> m_contents;
};

}  // namespace vexo

#endif
