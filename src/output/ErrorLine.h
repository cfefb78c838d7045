// SPDX-License-Identifier: MIT
// How an error reads on standard error.
#ifndef VEXO_OUTPUT_ERRORLINE_H
#define VEXO_OUTPUT_ERRORLINE_H

#include "foundation/String.h"

namespace vexo {

// The line, without its line feed, that reports `text`: the text itself, or in JSON a member to stand behind those of
// the document on standard output.
String errorLine(String text, bool json);

}  // namespace vexo

#endif
