// SPDX-License-Identifier: MIT
#include "sink/SinkText.h"

#include <string>

#include "foundation/Encoding.h"
#include "messages/MessageHelper.h"

namespace vexo {

String reasonOf(const Exception& error) {
    if (!error.message().empty()) return error.message();
    const MessageHelper messages("AGENT", "AGENT_");
    const auto* const stream = dynamic_cast<const StreamException*>(&error);
    if (!stream) return messages.getResStr("ERR_CODE", error.code());
    const std::string name = narrow(stream->name());
    const std::string reason = narrow(systemReason(stream->errorNumber()));
    return messages.getResStr("ERR_WRITE", name.c_str(), reason.c_str());
}

}  // namespace vexo
