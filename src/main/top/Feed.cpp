// SPDX-License-Identifier: MIT
#include "main/top/Feed.h"

#include "engine/EngineCall.h"
#include "foundation/Encoding.h"
#include "messages/MessageHelper.h"
#include "terminal/TerminalRestorer.h"

namespace vexo {

void prepareFeedThread() {
    const MessageHelper messages("VEXO", "VEXO_");
    reportCrashes("vexo-top: " + narrow(messages.getResStr("ERR_ENGINE_CRASH", &kCallPlaceholder[0])) + "\n",
                  restoreTerminalNow);
}

}  // namespace vexo
