// SPDX-License-Identifier: MIT
// Records of engines with the number of handles given: sampled, written as NDJSON, read back.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "record/Ndjson.h"
#include "record/RecordCollector.h"

namespace {

using namespace vexo;

// Every file has ten handles and every session a hundred; each handle is seen from both.
constexpr std::uint32_t kFileHandles = 10;
constexpr std::uint32_t kSessionHandles = 100;
std::uint32_t s_handles = 0;

constexpr std::int16_t kOk = XR_OK;

template <std::size_t Size>
void print(char (&field)[Size], const char* start, std::uint32_t number) {
    std::snprintf(field, Size, "%s%06u", start, number);
}

// One handle in a hundred locks, one in a thousand waits.
template <typename Handle>
void setState(Handle& handle, std::uint32_t number) {
    handle.recordLockType = number % 100 == 0 ? 'S' : 'N';
    handle.waitState = number % 1000 == 0 ? 1 : 0;
}

XrApi makeApi() {
    XrApi api;
    api.XrGetEngineInformation = [](auto...) { return kOk; };
    api.XrGetKesdVersion = [](auto...) { return kOk; };
    api.XrGetOpenFilesData = [](std::int32_t, std::uint32_t* count) { return *count = s_handles / kFileHandles, kOk; };
    api.XrGetKesdClientsData = [](std::int32_t, std::uint32_t* count) {
        return *count = s_handles / kSessionHandles, kOk;
    };
    api.XrGetSQLConnectionsData = [](std::int32_t, std::uint32_t* count) { return *count = 50, kOk; };
    api.XrFreeOpenFilesData = api.XrFreeKesdClientsData = api.XrFreeSQLConnectionsData = [](auto...) { return kOk; };
    api.XrGetOpenFileName = [](std::int32_t, std::uint32_t index, std::uint32_t*, char* name) {
        return std::sprintf(name, "/srv/shop/data/area/%06u", index), kOk;
    };
    api.XrGetFileInfo2 = [](auto...) { return kOk; };
    api.XrGetFileHandlesData = [](std::int32_t, const char*, std::uint32_t* count) {
        return *count = kFileHandles, kOk;
    };
    api.XrGetFileHandleInfo = [](std::int32_t, const char* name, std::uint32_t index, XRFILEHANDLEINFO* info) {
        info->clientIndex = static_cast<std::uint32_t>(name[22]) * 7U + index;
        print(info->clientName, "station", info->clientIndex);
        setState(*info, index + (name[24] == '0' ? 0 : 1));
        return kOk;
    };
    api.XrGetKesdClientId = [](std::int32_t, std::uint32_t index, XRCLIENTID* id) {
        return print(id->text, "C", index), kOk;
    };
    api.XrGetKesdClientInfo = [](std::int32_t, const XRCLIENTID* id, XRKESDCLIENTINFO* info) {
        return std::snprintf(info->sessionName, sizeof info->sessionName, "station-%s", id->text), kOk;
    };
    api.XrGetKesdClientHandlesData = [](std::int32_t, const XRCLIENTID*, std::uint32_t* count) {
        return *count = kSessionHandles, kOk;
    };
    api.XrGetKesdClientHandleInfo = [](std::int32_t, const XRCLIENTID*, std::uint32_t index,
                                       XRKESDCLIENTHANDLEINFO* info) {
        print(info->fileName, "/srv/shop/data/area/", index);
        setState(*info, index);
        return kOk;
    };
    api.XrGetSQLConnectionInfo2 = [](std::int32_t, std::uint32_t index, XRSQLCONNINFO* info) {
        return print(info->userName, "user", index), kOk;
    };
    api.XrGetKesdUsageEx2 = [](auto...) { return kOk; };
    api.XrGetKesdCommStatEx = [](auto...) { return kOk; };
    return api;
}

// A collector of an engine with the number of handles that the benchmark asks for.
struct Sampled {
    explicit Sampled(const benchmark::State& state) { s_handles = static_cast<std::uint32_t>(state.range(0)); }
    RecordPtr record() { return collector.collect(frame()); }
    static RecordFrame frame() { return {"shop", "16.11.6", 1, 4711, 10000, {}}; }

    QRIMonitorHelper engine{makeApi()};
    RecordCollector collector{
        engine, {{true, true, true, true, true}, HandleScope::kAll}
    };
};

void sampleRecord(benchmark::State& state) {
    Sampled sampled(state);
    RecordPtr record;
    for (auto _ : state)
        record = sampled.record();
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes"] = static_cast<double>(record->footprint());
}
BENCHMARK(sampleRecord)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void writeRecord(benchmark::State& state) {
    const RecordPtr record = Sampled(state).record();
    std::string text;
    for (auto _ : state) {
        text.clear();
        appendNdjson(text, *record);
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    state.counters["bytes"] = static_cast<double>(text.size());
}
BENCHMARK(writeRecord)->Arg(10)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void readRecord(benchmark::State& state) {
    std::string text;
    appendNdjson(text, *Sampled(state).record());
    NdjsonReader reader;
    for (auto _ : state) {
        std::string_view rest = text;
        benchmark::DoNotOptimize(reader.read(rest).files.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(readRecord)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace
