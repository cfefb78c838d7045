// SPDX-License-Identifier: MIT
// A build without metrics over HTTP.
#include "main/agent/Sinks.h"

namespace vexo {

std::unique_ptr<Sink> makeMetricsSink(const SinkPlan& /*plan*/) {
    return nullptr;
}

}  // namespace vexo
