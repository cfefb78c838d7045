// SPDX-License-Identifier: MIT
// Why a sink failed, in words.
#ifndef VEXO_SINK_SINKTEXT_H
#define VEXO_SINK_SINKTEXT_H

#include "foundation/Exception.h"
#include "foundation/String.h"

namespace vexo {

// The message of a failure; for one that brings none a sentence that names the file, or the code.
String reasonOf(const Exception& error);

}  // namespace vexo

#endif
