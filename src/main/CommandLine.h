// SPDX-License-Identifier: MIT
// The command line, its usage, and the JSON document around everything that is no report.
#ifndef VEXO_MAIN_COMMANDLINE_H
#define VEXO_MAIN_COMMANDLINE_H

#include "foundation/Ref.h"
#include "foundation/String.h"
#include "foundation/TextWriter.h"
#include "messages/MessageHelper.h"

namespace vexo {

// Whether output is JSON; set by parseArgs() alone.
extern bool m_JSON;
// Standard output, and the program's own messages.
extern Ref<TextWriter> s_pw;
extern Ref<MessageHelper> s_vexoMessageHelper;

// Reads "-f PATH [-runonce] ...". Gives 0 when the line is accepted and 1 when it is not.
int parseArgs(int argc, const char* const* argv, String& path, bool& runOnce);

// Writes the usage. In JSON it closes the document, which has to be open.
void displayUsage(bool json);

// Keeps track of the JSON document; does nothing in text. (0, 0) makes sure that it is open, (0, 1) hands it to the
// monitor, (1, 2) closes it unless the monitor did.
void displayJSONHeader(bool json, int a, int b);

}  // namespace vexo

#endif
