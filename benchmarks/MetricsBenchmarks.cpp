// SPDX-License-Identifier: MIT
// Metrics: taking the numbers of a record, rendering them, and a whole scrape over loopback with a connection of its own,
// beside a number of clients that have connected and stall.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <stdexcept>

#include "http/MetricsSink.h"
#include "record/Codes.h"

namespace {

using namespace vexo;

RecordPtr recordOf(std::int64_t handles) {
    auto record = std::make_shared<Record>();
    record->monotonicUs = RecordClocks::systemMonotonicUs();
    record->scope = HandleScope::kAll;
    for (SectionResult& section : record->sections)
        section.state = SectionState::kWhole;
    record->usage.emplace();
    record->communication.emplace();
    for (std::uint32_t place = 0; place < handles; ++place) {
        const bool waits = place % 1000 == 0;
        record->fileHandles.push_back({
            place,
            kNoName,
            {0, 0, place % 100 == 0 ? kSingleLock : kNoLock, waits ? kWaitsForRecord : std::uint8_t{0}}
        });
        if (waits) record->waits.push_back({kNoName, kNoName, place, kWaitsForRecord, 0, place});
    }
    return record;
}

FileDescriptor connectTo(std::uint16_t port) {
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no connection");
    return socket;
}

std::size_t scrape(std::uint16_t port) {
    constexpr std::string_view kRequest =
        "GET /metrics HTTP/1.1\r\nHost: x\r\nAccept: application/openmetrics-text\r\nConnection: close\r\n\r\n";
    const FileDescriptor socket = connectTo(port);
    if (::send(socket.get(), kRequest.data(), kRequest.size(), MSG_NOSIGNAL) < 0) return 0;
    char some[65536];
    std::size_t all = 0;
    for (ssize_t size = 0; (size = ::recv(socket.get(), some, sizeof some, 0)) > 0;)
        all += static_cast<std::size_t>(size);
    return all;
}

void updateMetrics(benchmark::State& state) {
    const RecordPtr record = recordOf(state.range(0));
    MetricsPage page(60'000, {});
    for (auto _ : state)
        page.update(*record);
}
BENCHMARK(updateMetrics)->Arg(100)->Arg(100'000)->Unit(benchmark::kMicrosecond);

void renderMetrics(benchmark::State& state) {
    MetricsPage page(60'000, {});
    page.update(*recordOf(1000));
    for (auto _ : state)
        benchmark::DoNotOptimize(page.render(ExpositionFormat::kOpenMetrics));
}
BENCHMARK(renderMetrics)->Unit(benchmark::kMicrosecond);

// Arguments: handles, stalled clients.
void scrapeMetrics(benchmark::State& state) {
    MetricsSink sink(ListenAddress("0"), 60'000, {});
    sink.open();
    sink.write(recordOf(state.range(0)));
    std::vector<FileDescriptor> stalled;
    for (std::int64_t number = 0; number < state.range(1); ++number)
        stalled.push_back(connectTo(sink.port()));
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes = scrape(sink.port());
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(scrapeMetrics)
    ->ArgsProduct({
        {100, 100'000},
        {0,   100    }
})
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

}  // namespace
