// SPDX-License-Identifier: MIT
// Serves the metrics of the engine that VEXO_ENGINE_LIBRARY names, with a record a second. Argument: the address.
#include <chrono>
#include <cstdio>
#include <thread>

#include "engine/XrApi.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "http/MetricsSink.h"

int main(int argc, char** argv) try {
    using namespace vexo;
    useEnvironmentEncoding();
    MetricsSink sink(ListenAddress(argc > 1 ? argv[1] : ""), 60'000, [] {
        return std::vector<SinkHealth>{{"metrics", true, 0, {}}, {"history", true, 0, 4096}};
    });
    QRIMonitorHelper engine(loadEngineLibrary());
    engine.connect(L"", L"", L"");
    RecordCollector collector(engine, {{true, true, true, true, true}, HandleScope::kAll});
    sink.open();
    std::printf("%u\n", sink.port());
    std::fflush(stdout);
    for (std::uint64_t number = 1;; ++number) {
        sink.write(collector.collect({"", "", 1, number, 1000, {}}));
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
} catch (const vexo::Exception& error) {
    std::fprintf(stderr, "%s\n", vexo::narrow(error.message()).c_str());
    return 1;
}
