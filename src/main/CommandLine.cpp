// SPDX-License-Identifier: MIT
#include "main/CommandLine.h"

#include <algorithm>

#include "main/Program.h"
#include "util/Utils.h"

namespace vexo {

int parseArgs(int argc, const char* const* argv, String& path, bool& runOnce) {
    const auto words = Utils::convertToStringList(argc - 1, argv + 1);
    // The option counts wherever it stands, also on a line that is refused.
    m_JSON = std::any_of(words->begin(), words->end(),
                         [](const String& word) { return word == L"-JSON" || word == L"-json"; });
    if (words->size() < 2 || (*words)[0] != L"-f") return 1;
    path = (*words)[1];
    if (words->size() == 2) return 0;
    // The third word alone decides: "-runonce" must stand before "-JSON", and what follows it is not examined.
    if ((*words)[2] != L"-runonce") return 1;
    runOnce = true;
    return 0;
}

void displayUsage(bool json) {
    if (!json) return s_pw->writeLine(s_vexoMessageHelper->getResStr("USAGE"));
    s_pw->writeLine(L"\t\"usage\":");
    s_pw->writeLine(L"\t[");
    s_pw->writeLine(L"\t\t\"vexo -f <path>config_file [-runonce] [-JSON]\"");
    s_pw->writeLine(L"\t]");
    s_pw->writeLine(L"}");
}

}  // namespace vexo
