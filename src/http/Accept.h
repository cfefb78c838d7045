// SPDX-License-Identifier: MIT
// Which form of the metrics a client wants.
#ifndef VEXO_HTTP_ACCEPT_H
#define VEXO_HTTP_ACCEPT_H

#include <string_view>

#include "export/ExpositionWriter.h"

namespace vexo {

// By the value of a request's Accept header: OpenMetrics where it is named, in version 1.0.0 or none, with a weight of at
// least that of the text format. Everything else gets the text format, also what asks for neither.
ExpositionFormat formatFor(std::string_view accept);

}  // namespace vexo

#endif
