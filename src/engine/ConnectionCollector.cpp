// SPDX-License-Identifier: MIT
// SQL connections.
#include "engine/QRIMonitorHelper.h"

namespace vexo {
namespace {

Ref<ConnInfo> toConnInfo(const XRSQLCONNINFO& raw) {
    auto connection = makeRef<ConnInfo>();
    connection->userName = widen(rawText(raw.userName));
    connection->clientHostName = widen(rawText(raw.clientHostName));
    connection->networkAddress = widen(rawText(raw.networkAddress));
    connection->clientApplication = widen(rawText(raw.clientApplication));
    connection->dataSourceName = widen(rawText(raw.dataSourceName));
    connection->connectionStatus = static_cast<std::int16_t>(raw.connectionStatus);
    connection->activeIdlePeriodMs = raw.activeIdlePeriodMs;
    connection->totalConnectionTime = raw.totalConnectionTime;
    return connection;
}

}  // namespace

Ref<List<ConnInfo>> QRIMonitorHelper::getConnInfoList() {
    std::uint32_t count = 0;
    check(m_api.XrGetSQLConnectionsData(m_handle, &count));  // nothing to free yet
    const Snapshot snapshot(m_api.XrFreeSQLConnectionsData, m_handle);
    auto connections = makeRef<List<ConnInfo>>();
    RawArea<XRSQLCONNINFO> area;
    for (std::uint32_t index = 0; index < count; ++index) {
        area.clear();
        const int status = m_api.XrGetSQLConnectionInfo2(m_handle, index, &area.record);
        if (status == XR_NO_MORE_ITEMS) break;
        check(status);
        connections->add(toConnInfo(area.record));
    }
    return connections;
}

}  // namespace vexo
