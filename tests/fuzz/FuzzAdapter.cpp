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

struct FuzzedEngine {
    const std::uint8_t* next;
    const std::uint8_t* end;
    int snapshots = 0;

    std::uint8_t takeByte() { return next == end ? 0 : *next++; }

    // Mostly success, often an expected end or gap, else any status.
    std::int16_t takeStatus() {
        const std::uint8_t choice = takeByte();
        if (choice < 200) return XR_OK;
        if (choice < 215) return XR_NO_MORE_ITEMS;
        if (choice < 230) return XR_CLIENT_GONE;
        if (choice < 245) return XR_FILE_GONE;
        return static_cast<std::int16_t>(takeByte() << 8 | takeByte());
    }

    template <typename... Arguments>
    std::int16_t call(std::string_view name, Arguments... arguments) {
        (answer(arguments), ...);
        const std::int16_t status = takeStatus();
        const bool isTaken =
            name == "XrGetOpenFilesData" || name == "XrGetKesdClientsData" || name == "XrGetSQLConnectionsData";
        if (isTaken && status == XR_OK) ++snapshots;
        if (name.substr(0, 6) == "XrFree") --snapshots;
        return status;
    }

    // What the monitor passes is not to be longer than the interface allows, and what it asks for comes from the input.
    void answer(std::int32_t /*handle, or an item's number*/) {}
    void answer(std::uint32_t /*number*/) {}
    void answer(void* /*reserved*/) {}
    void answer(const XRCLIENTID* /*client*/) {}
    void answer(const char* text) {
        if (std::strlen(text) > XR_NAME_SIZE) std::abort();
    }
    void answer(char* text) { give(text, std::min<std::size_t>(XR_NAME_SIZE, takeByte() * std::size_t{5})); }
    void answer(std::uint32_t* number) { *number = takeByte() % 8; }
    template <typename Record>
    void answer(Record* record) {
        give(record, sizeof *record);
    }
    void give(void* target, std::size_t size) {
        const std::size_t count = std::min(size, static_cast<std::size_t>(end - next));
        std::memcpy(target, next, count);
        next += count;
    }
};
FuzzedEngine s_engine;

template <typename Operation>
void attempt(Operation operation) {
    try {
        operation();
    } catch (const QRIException& error) {
        if (error.getErrorCode() == XR_OK || error.message().empty()) std::abort();
    }
    if (s_engine.snapshots != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    XrApi api;
#define VEXO_FUZZED(name) api.name = [](auto... arguments) { return s_engine.call(#name, arguments...); };
    XR_FUNCTIONS(VEXO_FUZZED)
#undef VEXO_FUZZED
    s_engine = {bytes, bytes + size};
    QRIMonitorHelper engine(api);
    const bool withHandles = s_engine.takeByte() % 2 != 0;
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
