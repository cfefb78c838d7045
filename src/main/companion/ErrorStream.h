// SPDX-License-Identifier: MIT
// Lines on standard error.
#ifndef VEXO_MAIN_COMPANION_ERRORSTREAM_H
#define VEXO_MAIN_COMPANION_ERRORSTREAM_H

#include <string_view>

namespace vexo {

// Writes the program's name and `text` (bytes) as a line on standard error; leaves it out where the stream would block.
void tell(std::string_view text);

}  // namespace vexo

#endif
