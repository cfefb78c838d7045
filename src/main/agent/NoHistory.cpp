// SPDX-License-Identifier: MIT
// A build without the history.
#include "main/agent/Sinks.h"

namespace vexo {

std::unique_ptr<Sink> makeHistorySink(const SinkPlan& /*plan*/) {
    return nullptr;
}

}  // namespace vexo
