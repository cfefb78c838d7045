// SPDX-License-Identifier: MIT
#include "foundation/Encoding.h"
#include "http/MetricsSink.h"
#include "main/agent/Sinks.h"
#include "main/companion/ErrorStream.h"

namespace vexo {

std::unique_ptr<Sink> makeMetricsSink(const SinkPlan& plan) {
    return std::make_unique<MetricsSink>(ListenAddress(*plan.options.listen),
                                         static_cast<std::uint64_t>(plan.options.stallMs), plan.health,
                                         [](const String& notice) { tell(narrow(notice)); });
}

}  // namespace vexo
