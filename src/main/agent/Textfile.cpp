// SPDX-License-Identifier: MIT
#include "main/agent/Sinks.h"

#include "export/TextfileSink.h"

namespace vexo {

std::unique_ptr<Sink> makeTextfileSink(const SinkPlan& plan) {
    return std::make_unique<TextfileSink>(*plan.options.textfile, plan.server,
                                          static_cast<std::uint64_t>(plan.options.stallMs), plan.health);
}

}  // namespace vexo
