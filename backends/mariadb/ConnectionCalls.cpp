// SPDX-License-Identifier: MIT
// The connections of the SQL connection manager.
#include <algorithm>

#include "Activity.h"
#include "Handles.h"
#include "LockRules.h"
#include "ServerText.h"
#include "Texts.h"

using namespace xrmariadb;

namespace {

constexpr std::size_t kLongestAddress = 71;

std::vector<XRSQLCONNINFO> takeSnapshot(Engine& engine) {
    const std::vector<Process> processes = readProcesses(engine);
    const auto attributes = readAttributes(engine);
    const auto addresses = readAddresses(engine, readThreads(engine));
    std::vector<XRSQLCONNINFO> connections;
    connections.reserve(processes.size());
    for (const Process& process : processes) {
        XRSQLCONNINFO& info = connections.emplace_back();
        fill(info.userName, nameWithId(process.user, process.id, sizeof info.userName));
        fill(info.clientHostName, cleanText(splitClientAddress(process.host).host));
        fill(info.networkAddress, cutUtf8(networkAddress(process, addresses), kLongestAddress));
        fill(info.dataSourceName, cleanText(process.database));
        const auto client = attributes.find(process.id);
        if (client != attributes.end()) {
            const std::string& program = client->second.program;
            fill(info.clientApplication, cleanText(program.empty() ? client->second.library : program));
        }
        info.connectionStatus = connectionStatus(process.command);
        info.activeIdlePeriodMs = saturate(process.periodMs);
        info.totalConnectionTime = saturate(std::max(process.periodMs, engine.knownAgeMs(process.id)));
    }
    return connections;
}

}  // namespace

std::int16_t XrGetSQLConnectionsData(std::int32_t h, std::uint32_t* count) {
    return answer(h, given(count), [&](Engine& engine) -> std::int16_t {
        engine.connectionSnapshot = {};
        engine.connectionSnapshot = takeSnapshot(engine);
        *count = static_cast<std::uint32_t>(engine.connectionSnapshot.size());
        return XR_OK;
    });
}

std::int16_t XrGetSQLConnectionInfo2(std::int32_t h, std::uint32_t index, XRSQLCONNINFO* info) {
    return answer(h, given(info), [&](Engine& engine) -> std::int16_t {
        if (index >= engine.connectionSnapshot.size()) return XR_NO_MORE_ITEMS;
        *info = engine.connectionSnapshot[index];
        return XR_OK;
    });
}

std::int16_t XrFreeSQLConnectionsData(std::int32_t h) {
    if (Engine* engine = findEngine(h)) engine->connectionSnapshot = {};
    return XR_OK;
}
