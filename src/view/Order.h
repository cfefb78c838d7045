// SPDX-License-Identifier: MIT
// Which rows of a table are shown, in which order.
#ifndef VEXO_VIEW_ORDER_H
#define VEXO_VIEW_ORDER_H

#include <cstddef>
#include <string>

#include "view/Sheet.h"

namespace vexo {

// Whether a text of the row contains `needle`; case does not count among ASCII letters.
bool rowContains(const Facts& facts, const Sheet& sheet, std::uint32_t item, const std::string& needle);

struct Arrangement {
    std::size_t column = kUnsorted;
    bool isDown = true;
    std::string filter;  // empty for none
};

// The items of a sheet that the filter lets through, in order: values that are not known last, like ones as the engine lists
// them. A tree keeps those above an item beside it.
Items arranged(const Facts& facts, const Sheet& sheet, Items items, const Arrangement& arrangement);

}  // namespace vexo

#endif
