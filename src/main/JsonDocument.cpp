// SPDX-License-Identifier: MIT
#include "main/JsonDocument.h"

#include "main/Program.h"
#include "output/DocumentHeader.h"

namespace vexo {
namespace {

// Who writes the JSON document.
enum class Document { kNotOpen, kMonitor, kOpenedHere };

}  // namespace

void displayJSONHeader(bool json, int a, int b) {
    static Document trackHeader = Document::kNotOpen;
    if (!json) return;
    if (a == 0 && b == 0) {
        if (trackHeader != Document::kNotOpen) {
            trackHeader = Document::kNotOpen;
            return;
        }
        const auto header = documentHeader(*s_vexoMessageHelper);  // when memory runs out here, nothing has happened
        trackHeader = Document::kOpenedHere;
        for (const String& line : header)
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
