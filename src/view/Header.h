// SPDX-License-Identifier: MIT
// The lines around a table: what is shown, of when, and how the engine is.
#ifndef VEXO_VIEW_HEADER_H
#define VEXO_VIEW_HEADER_H

#include <string>
#include <vector>

#include "view/Level.h"
#include "view/Viewer.h"

namespace vexo {

// A part of a line. Where not all have room, those of the highest rank go first.
struct Piece {
    std::string text;
    Style style = Style::kPlain;
    int rank = 0;
};

// The pieces with two blanks in between, and `last` at the right end.
Line lineOf(std::vector<Piece> pieces, int columns, const Piece& last = {});

Line firstHeaderLine(const Facts& facts, const Situation& situation, ViewName view, int columns);
Line secondHeaderLine(const Facts& facts, const Situation& situation, int columns);
// The rule, with what is special about the table.
Line ruleLine(const Facts& facts, const Level& level, int columns);
// What keeps the table from being the whole truth.
std::vector<Line> notesOf(const Facts& facts, const Level& level, int columns);

// What is wrong with the connection; empty where nothing is.
std::string linkText(const Texts& texts, const Situation& situation);
// The number and the name of a view.
std::string titleOf(const Texts& texts, ViewName view);

}  // namespace vexo

#endif
