// SPDX-License-Identifier: MIT
#include "engine/error/QRIConfigHelper.h"

#include "foundation/Encoding.h"
#include "foundation/Piece.h"

namespace vexo {
namespace {

constexpr int kLastEngineStatus = 7999;

}  // namespace

QRIConfigHelper::QRIConfigHelper()
    : m_engineMessages(makeRef<MessageHelper>("XRMSG", "LK_MSG_P_E_")),
      m_settingsMessages(makeRef<MessageHelper>("KORA", "KORA_")) {
}

String QRIConfigHelper::createErrorMsg(int status) const {
    return statusMessage(status <= kLastEngineStatus ? *m_engineMessages : *m_settingsMessages, status);
}

String statusMessage(const MessageHelper& messages, int status) {
    const String code = decimal(status);
    return concat(code, L": ", messages.getResStr(narrow(code).c_str()));
}

}  // namespace vexo
