// SPDX-License-Identifier: MIT
// The command line and its usage.
#ifndef VEXO_MAIN_COMMANDLINE_H
#define VEXO_MAIN_COMMANDLINE_H

#include "foundation/String.h"

namespace vexo {

// Reads "-f PATH [-runonce] ...". Gives 0 when the line is accepted and 1 when it is not.
int parseArgs(int argc, const char* const* argv, String& path, bool& runOnce);

// Writes the usage. In JSON it closes the document, which must be open.
void displayUsage(bool json);

}  // namespace vexo

#endif
