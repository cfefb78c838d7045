// SPDX-License-Identifier: MIT
// What a screen shows, without a terminal: lines of text in few styles. A terminal paints it, a batch prints it.
#ifndef VEXO_VIEW_PICTURE_H
#define VEXO_VIEW_PICTURE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexo {

// Colour only repeats what the text says.
enum class Style : std::uint8_t {
    kPlain,
    kStrong,    // headings and the like: bold
    kWait,      // somebody waits: red
    kGap,       // something is missing: yellow
    kSelected,  // the row of the cursor: reverse
};

// Text is UTF-8 that is safe to print.
struct Span {
    std::string text;
    Style style = Style::kPlain;
};

using Line = std::vector<Span>;

struct Position {
    int row = 0;
    int column = 0;
};

// Columns are those of a terminal: a wide character takes two.
struct Size {
    int rows = 0;
    int columns = 0;
};

// At most as many lines as the size it was made for, none of them wider.
struct Picture {
    std::vector<Line> lines;
    std::optional<Position> cursor;  // where the user types; hidden otherwise
};

}  // namespace vexo

#endif
