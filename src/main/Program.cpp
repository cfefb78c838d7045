// SPDX-License-Identifier: MIT
#include "main/Program.h"

namespace vexo {

bool m_JSON = false;
Ref<TextWriter> s_pw;
Ref<TextWriter> s_errpw;
Ref<MessageHelper> s_vexoMessageHelper;
std::unique_ptr<ConfigData> s_configData;

void openProgram() {
    s_pw = TextWriter::onStandardOutput(TextWriter::Flushing::kAfterEveryLine);
    s_errpw = TextWriter::onStandardError(TextWriter::Flushing::kAfterEveryLine);
    s_vexoMessageHelper = makeRef<MessageHelper>("VEXO", "VEXO_");
}

}  // namespace vexo
