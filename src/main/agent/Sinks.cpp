// SPDX-License-Identifier: MIT
#include "main/agent/Sinks.h"

#include <utility>

#include "messages/MessageHelper.h"
#include "sink/CsvSink.h"
#include "sink/NdjsonSink.h"

namespace vexo {

std::vector<std::unique_ptr<Sink>> makeSinks(const SinkPlan& plan) {
    std::vector<std::unique_ptr<Sink>> sinks;
    const auto add = [&sinks](const char* name, std::unique_ptr<Sink> sink) {
        if (!sink) throw OptionException(MessageHelper("AGENT", "AGENT_").getResStr("ERR_NOT_BUILT", name));
        sinks.push_back(std::move(sink));
    };
    const AgentOptions& options = plan.options;
    if (options.history) add("--history", makeHistorySink(plan));
    if (options.ndjson) add("--ndjson", std::make_unique<NdjsonSink>(*options.ndjson));
    if (options.csv) add("--csv", std::make_unique<CsvSink>(*options.csv, options.csvFormulas));
    if (options.listen) add("--listen", makeMetricsSink(plan));
    if (options.textfile) add("--textfile", makeTextfileSink(plan));
    return sinks;
}

}  // namespace vexo
