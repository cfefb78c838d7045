// SPDX-License-Identifier: MIT
// The collectors over a table of functions that answers at once: what the monitor itself needs for each record.
#include <benchmark/benchmark.h>

#include <cstring>

#include "engine/QRIMonitorHelper.h"

namespace {

using namespace vexo;

constexpr std::uint32_t kHandles = 100;
std::uint32_t s_items = 0;

std::int16_t countItems(std::int32_t /*h*/, std::uint32_t* count) {
    *count = s_items;
    return XR_OK;
}

XrApi makeApi() {
    XrApi api;
    api.XrGetOpenFilesData = api.XrGetKesdClientsData = api.XrGetSQLConnectionsData = countItems;
    api.XrFreeOpenFilesData = api.XrFreeKesdClientsData =
        api.XrFreeSQLConnectionsData = [](std::int32_t) { return std::int16_t{XR_OK}; };
    api.XrGetOpenFileName = [](std::int32_t, std::uint32_t index, std::uint32_t*, char* name) {
        std::strcpy(name, "/srv/shop/data/ORDERPOS00.DAT");
        name[23] = static_cast<char>('A' + index % 26);
        return std::int16_t{XR_OK};
    };
    api.XrGetFileInfo2 = [](std::int32_t, const char*, XRFILEINFO*) { return std::int16_t{XR_OK}; };
    api.XrGetFileHandlesData = [](std::int32_t, const char*, std::uint32_t* count) {
        *count = kHandles;
        return std::int16_t{XR_OK};
    };
    api.XrGetFileHandleInfo = [](std::int32_t, const char*, std::uint32_t index, XRFILEHANDLEINFO* info) {
        info->clientIndex = index;
        std::strcpy(info->clientName, "OFFICE-ANNA0");
        info->clientName[11] = static_cast<char>('0' + index % 64);
        return std::int16_t{XR_OK};
    };
    api.XrGetKesdClientId = [](std::int32_t, std::uint32_t, XRCLIENTID*) { return std::int16_t{XR_OK}; };
    api.XrGetKesdClientInfo = [](std::int32_t, const XRCLIENTID*, XRKESDCLIENTINFO*) { return std::int16_t{XR_OK}; };
    api.XrGetKesdClientHandlesData = [](std::int32_t, const XRCLIENTID*, std::uint32_t* count) {
        *count = kHandles;
        return std::int16_t{XR_OK};
    };
    api.XrGetKesdClientHandleInfo = [](std::int32_t, const XRCLIENTID*, std::uint32_t, XRKESDCLIENTHANDLEINFO* info) {
        std::strcpy(info->fileName, "/srv/shop/data/2026/quarter3/ORDERPOS00.DAT");
        return std::int16_t{XR_OK};
    };
    api.XrGetSQLConnectionInfo2 = [](std::int32_t, std::uint32_t, XRSQLCONNINFO* info) {
        std::strcpy(info->userName, "webshop");
        return std::int16_t{XR_OK};
    };
    return api;
}

template <typename Collect>
void collect(benchmark::State& state, std::uint32_t items, Collect operation) {
    QRIMonitorHelper engine(makeApi());
    s_items = items;
    for (auto _ : state)
        benchmark::DoNotOptimize(operation(engine).get());
}

void fileHandles(benchmark::State& state) {
    collect(state, 10, [](QRIMonitorHelper& engine) { return engine.getActiveFileInfoList(true); });
    state.SetItemsProcessed(state.iterations() * 10 * kHandles);
}
BENCHMARK(fileHandles);

void sessionHandles(benchmark::State& state) {
    collect(state, 10, [](QRIMonitorHelper& engine) { return engine.getActiveSessionInfoList(true); });
    state.SetItemsProcessed(state.iterations() * 10 * kHandles);
}
BENCHMARK(sessionHandles);

void connections(benchmark::State& state) {
    collect(state, kHandles, [](QRIMonitorHelper& engine) { return engine.getConnInfoList(); });
    state.SetItemsProcessed(state.iterations() * kHandles);
}
BENCHMARK(connections);

}  // namespace
