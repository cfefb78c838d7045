// SPDX-License-Identifier: MIT
#include "main/agent/Sinks.h"

#include "main/agent/HistorySink.h"

namespace vexo {

std::unique_ptr<Sink> makeHistorySink(const SinkPlan& plan) {
    return std::make_unique<HistorySink>(
        *plan.options.history, HistoryLimits{static_cast<std::uint64_t>(plan.options.keepMs), plan.options.maxBytes,
                                             plan.options.minFreeBytes});
}

}  // namespace vexo
