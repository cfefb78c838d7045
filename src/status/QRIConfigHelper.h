// SPDX-License-Identifier: MIT
// Messages for the statuses of the engine's settings functions.
#ifndef VEXO_ENGINE_ERROR_QRICONFIGHELPER_H
#define VEXO_ENGINE_ERROR_QRICONFIGHELPER_H

#include "foundation/Ref.h"
#include "messages/MessageHelper.h"

namespace vexo {

class QRIConfigHelper {
public:
    QRIConfigHelper();

    // The decimal status, ": " and its text: from bundle "XRMSG" up to status 7999, from "KORA" above.
    String createErrorMsg(int status) const;

private:
    Ref<MessageHelper> m_engineMessages;
    Ref<MessageHelper> m_settingsMessages;
};

}  // namespace vexo

#endif
