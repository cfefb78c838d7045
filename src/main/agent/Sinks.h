// SPDX-License-Identifier: MIT
// The sinks that a command line asks for.
#ifndef VEXO_MAIN_AGENT_SINKS_H
#define VEXO_MAIN_AGENT_SINKS_H

#include <memory>
#include <string>
#include <vector>

#include "main/agent/AgentOptions.h"
#include "sink/Sink.h"

namespace vexo {

// What sinks are made from. `server` is in bytes, as configured.
struct SinkPlan {
    const AgentOptions& options;
    std::string server;
    SinkHealthSource health;
};

// All sinks asked for, none of them open. Throws OptionException for one that this build does not have.
std::vector<std::unique_ptr<Sink>> makeSinks(const SinkPlan& plan);

// Parts that a build may lack; null then.
std::unique_ptr<Sink> makeHistorySink(const SinkPlan& plan);
std::unique_ptr<Sink> makeMetricsSink(const SinkPlan& plan);
std::unique_ptr<Sink> makeTextfileSink(const SinkPlan& plan);

}  // namespace vexo

#endif
