// SPDX-License-Identifier: MIT
// What the whole program shares: its streams, its own messages, the settings of the run and the form of its output.
#ifndef VEXO_MAIN_PROGRAM_H
#define VEXO_MAIN_PROGRAM_H

#include <memory>

#include "config/ConfigData.h"
#include "foundation/Ref.h"
#include "foundation/TextWriter.h"
#include "messages/MessageHelper.h"

namespace vexo {

// Whether output is JSON; set by parseArgs() alone.
extern bool m_JSON;
// Standard output, standard error and the program's own messages; empty until openProgram().
extern Ref<TextWriter> s_pw;
extern Ref<TextWriter> s_errpw;
extern Ref<MessageHelper> s_vexoMessageHelper;
// The settings of the run, once they are read.
extern std::unique_ptr<ConfigData> s_configData;

// Creates the writers and the message lookup.
void openProgram();

}  // namespace vexo

#endif
