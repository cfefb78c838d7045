// SPDX-License-Identifier: MIT
// Histories of engines with the number of handles given: written, read on, jumped in. Each iteration is one record.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>

#include "LivelyEngine.h"
#include "history/HistoryReader.h"
#include "history/HistoryWriter.h"

namespace {

using namespace vexo;

constexpr const char* kPath = "benchmark.history";
constexpr HistoryLimits kLimits = {1ULL << 50U, 1ULL << 40U, 0};

void removeHistory() {
    for (const char* end : {"", "-wal", "-shm"})
        std::filesystem::remove(std::string(kPath) + end);
}

std::uint32_t handlesOf(const benchmark::State& state) {
    return static_cast<std::uint32_t>(state.range(0));
}

void writeHistory(benchmark::State& state) {
    removeHistory();
    const LivelyEngine engine(handlesOf(state));
    HistoryWriter writer(kPath, kLimits);
    for (auto _ : state) {
        state.PauseTiming();
        const Record record = engine.record(writer.nextRecord());
        state.ResumeTiming();
        writer.write(record);
    }
    const auto records = static_cast<double>(state.iterations());
    // Without the log, which is as long for a day as for a week.
    state.counters["bytes"] = static_cast<double>(writer.bytes() - std::filesystem::file_size(walOf(kPath))) / records;
}
BENCHMARK(writeHistory)->Arg(10)->Iterations(7200)->Unit(benchmark::kMicrosecond);
BENCHMARK(writeHistory)->Arg(1'000)->Iterations(1200)->Unit(benchmark::kMicrosecond);
BENCHMARK(writeHistory)->Arg(100'000)->Iterations(180)->Unit(benchmark::kMicrosecond);

// So many records hang together.
std::uint64_t groupOf(const benchmark::State& state) {
    return handlesOf(state) > 1'000 ? HistoryWriter::kLargeGroupRecords : HistoryWriter::kGroupRecords;
}

// The history that writeHistory() left has to be of as many handles.
void writeGroups(const benchmark::State& state) {
    removeHistory();
    const LivelyEngine engine(handlesOf(state));
    HistoryWriter writer(kPath, kLimits);
    for (std::uint64_t number = 1; number <= 2 * groupOf(state); ++number)
        writer.write(engine.record(number));
}

void readOn(benchmark::State& state) {
    writeGroups(state);
    auto reader = std::make_unique<HistoryReader>(kPath);
    for (auto _ : state) {
        if (reader->next()) continue;
        reader = std::make_unique<HistoryReader>(kPath);
    }
}
BENCHMARK(readOn)->Arg(10)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);

// To the last record of a group, from another group.
void jump(benchmark::State& state) {
    writeGroups(state);
    HistoryReader reader(kPath);
    std::uint64_t group = 1;
    for (auto _ : state) {
        group = 3 - group;
        benchmark::DoNotOptimize(reader.at(LivelyEngine::epochOf(group * groupOf(state))));
    }
    removeHistory();
}
BENCHMARK(jump)->Arg(10)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);

}  // namespace
