// SPDX-License-Identifier: MIT
#include "foundation/Encoding.h"
#include "history/HistorySink.h"
#include "main/agent/Sinks.h"
#include "main/companion/ErrorStream.h"

namespace vexo {

std::unique_ptr<Sink> makeHistorySink(const SinkPlan& plan) {
    const HistoryLimits limits{static_cast<std::uint64_t>(plan.options.keepMs), plan.options.maxBytes,
                               plan.options.minFreeBytes};
    const auto notify = [](const String& notice) { tell(narrow(notice)); };
    return std::make_unique<HistorySink>(*plan.options.history, limits, notify);
}

}  // namespace vexo
