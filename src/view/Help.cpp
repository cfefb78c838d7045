// SPDX-License-Identifier: MIT
#include "view/Help.h"

#include <algorithm>

namespace vexo {
namespace {

// Texts of the form "keys: meaning".
constexpr const char* kRows[] = {
    "HELP_VIEWS",  "HELP_MOVE",   "HELP_PAGE",   "HELP_ENTER",  "HELP_ESCAPE",   "HELP_SORT", "HELP_INVERT",
    "HELP_FILTER", "HELP_SEARCH", "HELP_FOLLOW", "HELP_PAUSE",  "HELP_INTERVAL", "HELP_STEP", "HELP_JUMP",
    "HELP_ENDS",   "HELP_WAITS",  "HELP_GAPS",   "HELP_REDRAW", "HELP_HELP",     "HELP_QUIT",
};

}  // namespace

std::vector<Line> helpLines(const Texts& texts, int columns) {
    std::vector<Line> lines;
    int widest = 0;
    for (const char* const key : kRows)
        widest = std::max(widest, widthOf(std::string_view(texts[key]).substr(0, texts[key].find(": "))));
    widest = std::min(widest, columns / 2);
    for (const char* const key : kRows) {
        const std::string& text = texts[key];
        const std::size_t colon = text.find(": ");
        const std::string meaning = colon == std::string::npos ? std::string() : text.substr(colon + 2);
        lines.push_back({
            {leftIn(cutTo(text.substr(0, colon), widest, Cut::kEnd),           widest) + "  ", Style::kStrong},
            {cutTo(meaning,            columns - widest - 2,                  Cut::kEnd),            Style::kPlain}
        });
    }
    return lines;
}

}  // namespace vexo
