// SPDX-License-Identifier: MIT
#include "status/StatusMessage.h"

#include "foundation/Encoding.h"
#include "foundation/Piece.h"

namespace vexo {

String statusMessage(const MessageHelper& messages, int status) {
    const String code = decimal(status);
    return concat(code, L": ", messages.getResStr(narrow(code).c_str()));
}

}  // namespace vexo
