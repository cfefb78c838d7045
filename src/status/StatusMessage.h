// SPDX-License-Identifier: MIT
// How a status of the administration interface reads.
#ifndef VEXO_STATUS_STATUSMESSAGE_H
#define VEXO_STATUS_STATUSMESSAGE_H

#include "foundation/String.h"
#include "messages/MessageHelper.h"

namespace vexo {

// `status` in decimal, ": " and the text that `messages` holds under that number.
String statusMessage(const MessageHelper& messages, int status);

}  // namespace vexo

#endif
