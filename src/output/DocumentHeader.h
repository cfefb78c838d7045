// SPDX-License-Identifier: MIT
// What every JSON document begins with.
#ifndef VEXO_OUTPUT_DOCUMENTHEADER_H
#define VEXO_OUTPUT_DOCUMENTHEADER_H

#include <array>

#include "foundation/String.h"
#include "messages/MessageHelper.h"

namespace vexo {

// The five opening lines of the JSON document, name and copyright taken from `messages`.
std::array<String, 5> documentHeader(const MessageHelper& messages);

}  // namespace vexo

#endif
