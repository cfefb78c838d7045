// SPDX-License-Identifier: MIT
#include "main/agent/Sinks.h"

#include "http/MetricsSink.h"

namespace vexo {

std::unique_ptr<Sink> makeMetricsSink(const SinkPlan& plan) {
    return std::make_unique<MetricsSink>(ListenAddress(*plan.options.listen),
                                         static_cast<std::uint64_t>(plan.options.stallMs), plan.health);
}

}  // namespace vexo
