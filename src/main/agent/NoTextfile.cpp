// SPDX-License-Identifier: MIT
// A build without metrics.
#include "main/agent/Sinks.h"

namespace vexo {

std::unique_ptr<Sink> makeTextfileSink(const SinkPlan& /*plan*/) {
    return nullptr;
}

}  // namespace vexo
