// SPDX-License-Identifier: MIT
// An engine that answers every call with bytes and statuses of the fuzzer's choice: the collectors return records or
// raise, free each snapshot once, and never read beyond a record.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "engine/QRIMonitorHelper.h"
#include "status/QRIException.h"

namespace {

using namespace vexo;

const std::uint8_t* s_next = nullptr;
const std::uint8_t* s_end = nullptr;
int s_snapshots = 0;

// Fills `size` bytes, and some of the slack behind them, from the input.
void fill(void* target, std::size_t size) {
    const std::size_t count = std::min<std::size_t>(size, static_cast<std::size_t>(s_end - s_next));
    std::memcpy(target, s_next, count);
    s_next += count;
}

std::uint8_t takeByte() {
    return s_next == s_end ? 0 : *s_next++;
}

// Mostly success, often an expected end or gap, else any status.
std::int16_t takeStatus() {
    const std::uint8_t choice = takeByte();
    if (choice < 200) return XR_OK;
    if (choice < 215) return XR_NO_MORE_ITEMS;
    if (choice < 230) return XR_CLIENT_GONE;
    if (choice < 245) return XR_FILE_GONE;
    return static_cast<std::int16_t>(takeByte() << 8 | takeByte());
}

std::int16_t count(std::uint32_t* announced) {
    *announced = takeByte() % 8;
    return takeStatus();
}

std::int16_t data(std::int32_t /*h*/, std::uint32_t* announced) {
    const std::int16_t status = count(announced);
    if (status == XR_OK) ++s_snapshots;
    return status;
}

std::int16_t release(std::int32_t /*h*/) {
    --s_snapshots;
    return takeStatus();
}

template <typename Record>
std::int16_t give(Record* record) {
    fill(record, sizeof *record);
    return takeStatus();
}

XrApi makeApi() {
    XrApi api;
    api.XrStart = api.XrStop = [](void*) { return takeStatus(); };
    api.XrDisconnect = [](std::int32_t) { return takeStatus(); };
    api.XrConnectServer = [](const char*, const char*, const char*, std::int32_t* h) { return give(h); };
    api.XrGetEngineInformation = [](std::int32_t, char* text, std::uint32_t*, std::uint32_t*, std::uint32_t*,
                                    std::uint32_t* type) {
        fill(text, XR_ENGINE_TEXT_SIZE);
        return give(type);
    };
    api.XrGetKesdVersion = [](std::int32_t, XRKESDVERSION* version) { return give(version); };
    api.XrGetOpenFilesData = api.XrGetKesdClientsData = api.XrGetSQLConnectionsData = data;
    api.XrFreeOpenFilesData = api.XrFreeKesdClientsData = api.XrFreeSQLConnectionsData = release;
    api.XrGetOpenFileName = [](std::int32_t, std::uint32_t, std::uint32_t* size, char* name) {
        fill(name, std::min<std::size_t>(*size, takeByte() * std::size_t{5}));
        return give(size);
    };
    api.XrGetFileInfo2 = [](std::int32_t, const char* name, XRFILEINFO* info) {
        if (std::strlen(name) > XR_NAME_SIZE) std::abort();
        return give(info);
    };
    api.XrGetFileHandlesData = [](std::int32_t, const char*, std::uint32_t* announced) { return count(announced); };
    api.XrGetFileHandleInfo = [](std::int32_t, const char*, std::uint32_t, XRFILEHANDLEINFO* info) {
        return give(info);
    };
    api.XrGetKesdClientId = [](std::int32_t, std::uint32_t, XRCLIENTID* id) { return give(id); };
    api.XrGetKesdClientInfo = [](std::int32_t, const XRCLIENTID*, XRKESDCLIENTINFO* info) { return give(info); };
    api.XrGetKesdClientHandlesData = [](std::int32_t, const XRCLIENTID*, std::uint32_t* announced) {
        return count(announced);
    };
    api.XrGetKesdClientHandleInfo = [](std::int32_t, const XRCLIENTID*, std::uint32_t, XRKESDCLIENTHANDLEINFO* info) {
        return give(info);
    };
    api.XrGetSQLConnectionInfo2 = [](std::int32_t, std::uint32_t, XRSQLCONNINFO* info) { return give(info); };
    api.XrGetKesdUsageEx2 = [](std::int32_t, XRKESDUSAGE* usage) { return give(usage); };
    api.XrGetKesdCommStatEx = [](std::int32_t, XRKESDCOMMSTAT* stat) { return give(stat); };
    return api;
}

template <typename Operation>
void attempt(Operation operation) {
    try {
        operation();
    } catch (const QRIException& error) {
        if (error.getErrorCode() == XR_OK || error.message().empty()) std::abort();
    }
    if (s_snapshots != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const XrApi s_api = makeApi();
    s_next = bytes;
    s_end = bytes + size;
    QRIMonitorHelper engine(s_api);
    const bool withHandles = takeByte() % 2 != 0;
    attempt([&] { engine.connect(L"server", L"user", L"password"); });
    attempt([&] { static_cast<void>(engine.getEngineType()); });
    attempt([&] { static_cast<void>(engine.getEngineVersion()); });
    attempt([&] { engine.getActiveFileInfoList(withHandles); });
    attempt([&] { engine.getActiveSessionInfoList(withHandles); });
    attempt([&] { engine.getConnInfoList(); });
    attempt([&] { engine.getUsageStats(); });
    attempt([&] {
        if (engine.getCommStats()->protocols->size() > XR_MAX_PROTOCOLS) std::abort();
    });
    engine.disconnect();
    return 0;
}
