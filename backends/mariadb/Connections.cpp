// SPDX-License-Identifier: MIT
// The connections of the SQL connection manager.
#include <algorithm>

#include "Activity.h"
#include "ClientText.h"
#include "LockRules.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

constexpr std::size_t kLongestAddress = 71;

}  // namespace

std::vector<XRSQLCONNINFO> Engine::readConnections() {
    const std::vector<Process> processes = readProcesses(*this, /*withServerThreads=*/false);
    const auto attributes = readAttributes(*this);
    const auto addresses = readAddresses(*this, readThreads(*this));
    std::vector<XRSQLCONNINFO> found;
    found.reserve(processes.size());
    for (const Process& process : processes) {
        XRSQLCONNINFO& info = found.emplace_back();
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
        info.totalConnectionTime = saturate(std::max(process.periodMs, knownAgeMs(process.id)));
    }
    return found;
}

}  // namespace xr::mariadb
