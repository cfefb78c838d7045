// SPDX-License-Identifier: MIT
// The keys, as users read of them.
#ifndef VEXO_VIEW_HELP_H
#define VEXO_VIEW_HELP_H

#include <vector>

#include "view/Picture.h"
#include "view/Text.h"

namespace vexo {

// One line for each key, in at most so many columns.
std::vector<Line> helpLines(const Texts& texts, int columns);

}  // namespace vexo

#endif
