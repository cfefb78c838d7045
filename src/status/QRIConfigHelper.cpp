// SPDX-License-Identifier: MIT
#include "status/QRIConfigHelper.h"

#include "status/StatusMessage.h"

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

}  // namespace vexo
