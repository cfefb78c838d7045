// SPDX-License-Identifier: MIT
// The lists of files, sessions and SQL connections.
#include "Snapshots.h"

#include <algorithm>
#include <map>
#include <utility>

#include "Engine.h"
#include "Texts.h"

namespace xr::postgres {

namespace {

constexpr std::uint32_t kKilobyte = 1024;

XRKESDCLIENTINFO describe(const LockSession& session) {
    XRKESDCLIENTINFO info{};
    fill(info.sessionName, sessionName(session, sizeof info.sessionName));
    info.locksUsed = saturate(session.locksUsed);
    info.transactionState = session.transactionState;
    info.site = 1;
    fill(info.networkAddress, "[local]");
    // Of a prepared transaction no process is left.
    if (!session.process) return info;
    info.site = isLocal(*session.process) ? 1 : 0;
    info.pid = info.connectionNumber = session.process->pid;
    fill(info.networkAddress, cleanText(networkAddress(*session.process)));
    return info;
}

}  // namespace

std::unique_ptr<FileSnapshot> Engine::readFiles() {
    std::unique_ptr<Reading> reading = read();
    auto snapshot = std::make_unique<FileSnapshot>();
    // A standby that takes over has no such process any more.
    const bool inRecovery = m_server.inRecovery && hasProcess(reading->activity.processes, kStartup);
    snapshot->clients.reserve(reading->picture.sessions.size());
    for (const LockSession& session : reading->picture.sessions) {
        snapshot->clients.push_back(
            {session.process ? session.process->pid : 0, sessionName(session, sizeof XRFILEHANDLEINFO::clientName)});
    }
    std::vector<std::shared_ptr<FileSnapshot::HandleList>> lists(reading->names.size());
    snapshot->handles = std::move(reading->picture.handles);
    for (std::uint32_t index = 0; index < snapshot->handles.size(); ++index) {
        auto& list = lists[snapshot->handles[index].object];
        if (!list) list = std::make_shared<FileSnapshot::HandleList>();
        list->push_back(index);
    }
    snapshot->files.reserve(reading->names.size());
    for (std::size_t index = 0; index < reading->names.size(); ++index) {
        FileSnapshot::File& file = snapshot->files.emplace_back();
        file.name = std::move(reading->names[index]);
        file.info.readOnlyFlag = inRecovery ? 'Y' : 'N';
        const bool isRelation = reading->picture.objects[index].type == LockType::kRelation;
        file.info.pageSize = isRelation ? m_server.blockSize : 0;
        file.info.physicalFileSizeKB = saturate(reading->sizes[index] / kKilobyte);
        file.handles = lists[index];
    }
    snapshot->finish();
    return snapshot;
}

std::unique_ptr<SessionSnapshot> Engine::readSessions() {
    std::unique_ptr<Reading> reading = read();
    auto snapshot = std::make_unique<SessionSnapshot>();
    const std::vector<LockSession>& sessions = reading->picture.sessions;
    snapshot->sessions.reserve(sessions.size());
    snapshot->byId.reserve(sessions.size());
    for (const LockSession& session : sessions) {
        SessionSnapshot::Session& entry = session.process
                                              ? snapshot->add(session.process->pid)
                                              : snapshot->add("x" + std::to_string(session.prepared->transaction));
        entry.info = describe(session);
        entry.firstHandle = session.firstHandle;
        entry.handleCount = session.handleCount;
    }
    snapshot->handles = std::move(reading->picture.handles);
    snapshot->files = std::move(reading->names);
    return snapshot;
}

std::vector<XRSQLCONNINFO> Engine::readConnections() {
    const std::vector<Process> processes = readProcesses();
    std::map<std::uint32_t, const Process*> clients;
    for (const Process& process : processes)
        if (process.isClient() && process.pid != connection().processId()) clients.emplace(process.pid, &process);
    std::vector<XRSQLCONNINFO> found;
    found.reserve(clients.size());
    for (const auto& [pid, client] : clients) {
        const Process& process = *client;
        XRSQLCONNINFO& info = found.emplace_back();
        fill(info.userName, cleanText(process.user));
        fill(info.clientHostName, cleanText(process.hostName));
        fill(info.networkAddress, cleanText(networkAddress(process)));
        fill(info.clientApplication, cleanText(process.application));
        fill(info.dataSourceName, cleanText(process.database));
        info.connectionStatus = process.isActive() ? 1 : 0;
        info.activeIdlePeriodMs = saturate(process.stateMs);
        info.totalConnectionTime = saturate(process.ageMs);
    }
    return found;
}

}  // namespace xr::postgres
