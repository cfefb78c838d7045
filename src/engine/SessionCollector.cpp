// SPDX-License-Identifier: MIT
// Sessions and the handles that they hold.
#include "engine/QRIMonitorHelper.h"

namespace vexo {
namespace {

Ref<ClientIDInfo> toClientIDInfo(const XRCLIENTID& raw) {
    auto id = makeRef<ClientIDInfo>();
    id->idText = widen(rawText(raw.text));
    id->idWord = raw.idWord;
    id->taskNumber = raw.taskNumber;
    return id;
}

Ref<SessionInfo> toSessionInfo(const XRKESDCLIENTINFO& raw, Ref<ClientIDInfo> clientId) {
    auto session = makeRef<SessionInfo>();
    session->site = raw.site;
    session->sessionName = widen(rawText(raw.sessionName));
    session->spareCode = static_cast<std::int16_t>(raw.spareCode);
    session->recordsDeleted = raw.recordsDeleted;
    session->recordsUpdated = raw.recordsUpdated;
    session->recordsInserted = raw.recordsInserted;
    session->recordsRead = raw.recordsRead;
    session->diskAccesses = raw.diskAccesses;
    session->cacheAccesses = raw.cacheAccesses;
    session->locksUsed = raw.locksUsed;
    session->transactionState = raw.transactionState;
    session->pid = raw.pid;
    session->connectionNumber = raw.connectionNumber;
    session->networkAddress = widen(rawText(raw.networkAddress));
    session->clientId = std::move(clientId);
    return session;
}

Ref<SessionHandleInfo> toSessionHandleInfo(const XRKESDCLIENTHANDLEINFO& raw, SharedString fileName) {
    auto handle = makeRef<SessionHandleInfo>();
    handle->openMode = raw.openMode;
    handle->recordLockType = raw.recordLockType;
    handle->waitState = raw.waitState;
    handle->transactionState = static_cast<std::int16_t>(raw.transactionState);
    handle->fileName = std::move(fileName);
    return handle;
}

}  // namespace

Ref<List<SessionInfo>> QRIMonitorHelper::collectSessions(Handles handles) {
    std::uint32_t count = 0;
    check(m_api.XrGetKesdClientsData(m_handle, &count));  // nothing to free yet
    const Snapshot snapshot(m_api.XrFreeKesdClientsData, m_handle);
    auto sessions = makeRef<List<SessionInfo>>();
    NamePool files;
    RawArea<XRCLIENTID> id;
    RawArea<XRKESDCLIENTINFO> area;
    for (std::uint32_t index = 0; index < count; ++index) {
        id.clear();
        area.clear();
        const int status = m_api.XrGetKesdClientId(m_handle, index, &id.record);
        if (status == XR_NO_MORE_ITEMS) break;
        check(status);

        const int found = m_api.XrGetKesdClientInfo(m_handle, &id.record, &area.record);
        if (found == XR_CLIENT_GONE) {
            ++m_vanished;
            continue;
        }
        check(found);

        auto session = toSessionInfo(area.record, toClientIDInfo(id.record));
        session->handles =
            handles == Handles::kNone ? makeRef<List<SessionHandleInfo>>() : collectSessionHandles(&id.record, files);
        if (handles == Handles::kOnlyHolders && session->handles->empty()) continue;
        sessions->add(std::move(session));
    }
    return sessions;
}

Ref<List<SessionHandleInfo>> QRIMonitorHelper::getSessionFileHandleInfoList(const XRCLIENTID* client) {
    NamePool files;
    return collectSessionHandles(client, files);
}

Ref<List<SessionHandleInfo>> QRIMonitorHelper::collectSessionHandles(const XRCLIENTID* client, NamePool& files) {
    auto handles = makeRef<List<SessionHandleInfo>>();
    std::uint32_t count = 0;
    check(m_api.XrGetKesdClientHandlesData(m_handle, client, &count));
    handles->expect(count);
    RawArea<XRKESDCLIENTHANDLEINFO> area;
    for (std::uint32_t index = 0; index < count; ++index) {
        area.clear();
        const int status = m_api.XrGetKesdClientHandleInfo(m_handle, client, index, &area.record);
        if (status == XR_NO_MORE_ITEMS) break;
        if (status == XR_CLIENT_GONE) {
            ++m_vanished;
            handles->clear();
            break;
        }
        check(status);
        handles->add(toSessionHandleInfo(area.record, files.get(lastText(area, area.record.fileName))));
    }
    return handles;
}

}  // namespace vexo
