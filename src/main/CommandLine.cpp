// SPDX-License-Identifier: MIT
#include "main/CommandLine.h"

#include <algorithm>

#include "output/DocumentHeader.h"
#include "util/Utils.h"

namespace vexo {

bool m_JSON = false;
Ref<TextWriter> s_pw;
Ref<MessageHelper> s_vexoMessageHelper;

namespace {

// Who writes the JSON document.
enum class Document { kNotOpen, kMonitor, kOpenedHere };

}  // namespace

int parseArgs(int argc, const char* const* argv, String& path, bool& runOnce) {
    const auto words = Utils::convertToStringList(argc - 1, argv + 1);
    // The option counts wherever it stands, also on a line that is refused.
    m_JSON = std::any_of(words->begin(), words->end(),
                         [](const String& word) { return word == L"-JSON" || word == L"-json"; });
    if (words->size() < 2 || (*words)[0] != L"-f") return 1;
    path = (*words)[1];
    if (words->size() == 2) return 0;
    // The third word decides alone: "-runonce" has to stand before "-JSON", and what follows it is not looked at.
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

void displayJSONHeader(bool json, int a, int b) {
    static Document trackHeader = Document::kNotOpen;
    if (!json) return;
    if (a == 0 && b == 0) {
        const bool open = trackHeader != Document::kNotOpen;
        trackHeader = open ? Document::kNotOpen : Document::kOpenedHere;
        if (open) return;
        for (const String& line : documentHeader(*s_vexoMessageHelper))
            s_pw->writeLine(line);
    } else if (a == 0 && b == 1) {
        trackHeader = Document::kMonitor;
    } else if (a == 1) {
        const bool monitorClosedIt = trackHeader == Document::kMonitor;
        trackHeader = Document::kNotOpen;
        // Established output: the line before the brace ends in a comma more often than not.
        if (!monitorClosedIt) s_pw->writeLine(L"}");
    }
}

}  // namespace vexo
