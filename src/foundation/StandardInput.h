// SPDX-License-Identifier: MIT
// Characters typed by the user.
#ifndef VEXO_FOUNDATION_STANDARDINPUT_H
#define VEXO_FOUNDATION_STANDARDINPUT_H

namespace vexo {

inline constexpr int kEndOfInput = -1;

// The next byte of standard input, 0 to 255; waits for it. kEndOfInput when there is none or it cannot be read.
int readStandardInput();

}  // namespace vexo

#endif
