// SPDX-License-Identifier: MIT
// The exported calls: each finds its engine, reads a snapshot, or answers from one. No exception leaves the library.
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "Engines.h"
#include "Texts.h"

using namespace xr;

namespace {

std::string orEmpty(const char* text) {
    return text ? text : "";
}

// Runs `call` and gives the status of the interface.
template <typename Call>
std::int16_t guarded(const Call& call) noexcept {
    try {
        return call();
    } catch (const StatusError& error) {
        return error.status();
    } catch (const std::bad_alloc&) {
        return backend().outOfMemory;
    } catch (...) {
        return backend().otherError;
    }
}

// Whether none of the caller's pointers is null.
template <typename... Arguments>
bool given(const Arguments*... arguments) noexcept {
    return (... && (arguments != nullptr));
}

// Runs `call` on the engine of a handle if its arguments are there. A lost connection is closed, and is the answer to
// every later call.
template <typename Call>
std::int16_t answer(std::int32_t handle, bool argumentsGiven, const Call& call) noexcept {
    return guarded([&]() -> std::int16_t {
        if (!argumentsGiven) return backend().outOfOrder;
        EngineHandle& engine = engineOf(handle);
        engine.beginCall();
        try {
            return call(engine);
        } catch (const StatusError& error) {
            if (error.connectionLost()) engine.abandon(error.status());
            throw;
        }
    });
}

const FileSnapshot::File* findFile(const EngineHandle& engine, const char* name) {
    if (!engine.fileSnapshot) return nullptr;
    const auto found = engine.fileSnapshot->byName.find(name);
    return found == engine.fileSnapshot->byName.end() ? nullptr : &engine.fileSnapshot->files[found->second];
}

// Null if the client is not in the snapshot.
const SessionSnapshot::Session* findClient(const EngineHandle& engine, const XRCLIENTID* client) {
    if (!engine.sessionSnapshot) return nullptr;
    const std::string text(client->text, strnlen(client->text, sizeof client->text));
    const auto found = engine.sessionSnapshot->byId.find(text);
    return found == engine.sessionSnapshot->byId.end() ? nullptr : &engine.sessionSnapshot->sessions[found->second];
}

// Records of handles have these fields under the same names.
template <typename Record>
void describe(Record& info, const Handle& handle) {
    info = {};
    info.openMode = handle.openMode;
    info.recordLockType = handle.recordLockType;
    info.waitState = static_cast<std::uint8_t>(handle.waitState);
    info.transactionState = handle.transactionState;
}

}  // namespace

std::int16_t XrStart(void* /*reserved*/) {
    return guarded([]() -> std::int16_t {
        startLibrary();
        return XR_OK;
    });
}

std::int16_t XrStop(void* /*reserved*/) {
    return guarded([]() -> std::int16_t {
        stopLibrary();
        return XR_OK;
    });
}

std::int16_t XrConnectServer(const char* server, const char* user, const char* password, std::int32_t* h) {
    return guarded([&]() -> std::int16_t {
        if (!isStarted() || !h) return backend().outOfOrder;
        auto engine = backend().makeEngine(orEmpty(server), orEmpty(user), orEmpty(password));
        engine->open();
        *h = keepEngine(std::move(engine));
        return XR_OK;
    });
}

std::int16_t XrDisconnect(std::int32_t h) {
    // The local engine may be left without ever having been asked anything.
    if (h != XR_LOCAL_ENGINE && !findEngine(h)) return backend().outOfOrder;
    dropEngine(h);
    return XR_OK;
}

std::int16_t XrGetEngineInformation(std::int32_t h, char* text, std::uint32_t* information1,
                                    std::uint32_t* information2, std::uint32_t* information3,
                                    std::uint32_t* engineType) {
    const bool allGiven = given(text, information1, information2, information3, engineType);
    return answer(h, allGiven, [&](EngineHandle& engine) -> std::int16_t {
        const Identity identity = engine.identity();
        const std::string name = cleanText(identity.text);
        const std::string_view cut = cutUtf8(name, XR_ENGINE_TEXT_SIZE - 1);
        text[cut.copy(text, cut.size())] = '\0';
        *information1 = static_cast<std::uint32_t>(identity.version.majorVersion);
        *information2 = static_cast<std::uint32_t>(identity.version.minorVersion);
        *information3 = static_cast<std::uint32_t>(identity.version.thirdVersion);
        *engineType = kLimitsSessions;
        return XR_OK;
    });
}

std::int16_t XrGetKesdVersion(std::int32_t h, XRKESDVERSION* version) {
    return answer(h, given(version), [&](EngineHandle& engine) -> std::int16_t {
        *version = engine.identity().version;
        return XR_OK;
    });
}

std::int16_t XrGetOpenFilesData(std::int32_t h, std::uint32_t* count) {
    return answer(h, given(count), [&](EngineHandle& engine) -> std::int16_t {
        engine.fileSnapshot.reset();
        engine.fileSnapshot = engine.readFiles();
        *count = static_cast<std::uint32_t>(engine.fileSnapshot->files.size());
        return XR_OK;
    });
}

std::int16_t XrGetOpenFileName(std::int32_t h, std::uint32_t index, std::uint32_t* size, char* name) {
    return answer(h, given(size, name), [&](EngineHandle& engine) -> std::int16_t {
        if (!engine.fileSnapshot || index >= engine.fileSnapshot->files.size()) return XR_NO_MORE_ITEMS;
        if (*size == 0) return XR_OK;
        const std::string_view cut = cutUtf8(engine.fileSnapshot->files[index].name, *size - 1);
        name[cut.copy(name, cut.size())] = '\0';
        *size = static_cast<std::uint32_t>(cut.size() + 1);
        return XR_OK;
    });
}

std::int16_t XrGetFileInfo2(std::int32_t h, const char* name, XRFILEINFO* info) {
    return answer(h, given(name, info), [&](EngineHandle& engine) -> std::int16_t {
        const FileSnapshot::File* file = findFile(engine, name);
        if (!file) return XR_FILE_GONE;
        *info = file->info;
        return XR_OK;
    });
}

std::int16_t XrFreeOpenFilesData(std::int32_t h) {
    if (EngineHandle* engine = findEngine(h)) engine->fileSnapshot.reset();
    return XR_OK;
}

std::int16_t XrGetFileHandlesData(std::int32_t h, const char* name, std::uint32_t* count) {
    return answer(h, given(name, count), [&](EngineHandle& engine) -> std::int16_t {
        const FileSnapshot::File* file = findFile(engine, name);
        if (!file) return XR_FILE_GONE;
        *count = file->handles ? static_cast<std::uint32_t>(file->handles->size()) : 0;
        return XR_OK;
    });
}

std::int16_t XrGetFileHandleInfo(std::int32_t h, const char* name, std::uint32_t index, XRFILEHANDLEINFO* info) {
    return answer(h, given(name, info), [&](EngineHandle& engine) -> std::int16_t {
        const FileSnapshot::File* file = findFile(engine, name);
        if (!file) return XR_FILE_GONE;
        if (!file->handles || index >= file->handles->size()) return XR_NO_MORE_ITEMS;
        const Handle& handle = engine.fileSnapshot->handles[(*file->handles)[index]];
        const FileSnapshot::Client& client = engine.fileSnapshot->clients[handle.session];
        describe(*info, handle);
        info->clientIndex = saturate(client.id);
        fill(info->clientName, client.name);
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientsData(std::int32_t h, std::uint32_t* count) {
    return answer(h, given(count), [&](EngineHandle& engine) -> std::int16_t {
        engine.sessionSnapshot.reset();
        engine.sessionSnapshot = engine.readSessions();
        *count = static_cast<std::uint32_t>(engine.sessionSnapshot->sessions.size());
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientId(std::int32_t h, std::uint32_t index, XRCLIENTID* client) {
    return answer(h, given(client), [&](EngineHandle& engine) -> std::int16_t {
        if (!engine.sessionSnapshot || index >= engine.sessionSnapshot->sessions.size()) return XR_NO_MORE_ITEMS;
        *client = engine.sessionSnapshot->sessions[index].id;
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientInfo(std::int32_t h, const XRCLIENTID* client, XRKESDCLIENTINFO* info) {
    return answer(h, given(client, info), [&](EngineHandle& engine) -> std::int16_t {
        const SessionSnapshot::Session* session = findClient(engine, client);
        if (!session) return XR_CLIENT_GONE;
        *info = session->info;
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientHandlesData(std::int32_t h, const XRCLIENTID* client, std::uint32_t* count) {
    return answer(h, given(client, count), [&](EngineHandle& engine) -> std::int16_t {
        const SessionSnapshot::Session* session = findClient(engine, client);
        if (!session) return XR_CLIENT_GONE;
        *count = session->handleCount == 0 && engine.sessionSnapshot->standIn ? 1 : session->handleCount;
        return XR_OK;
    });
}

std::int16_t XrGetKesdClientHandleInfo(std::int32_t h, const XRCLIENTID* client, std::uint32_t index,
                                       XRKESDCLIENTHANDLEINFO* info) {
    return answer(h, given(client, info), [&](EngineHandle& engine) -> std::int16_t {
        const SessionSnapshot::Session* session = findClient(engine, client);
        if (!session) return XR_CLIENT_GONE;
        if (index == 0 && session->handleCount == 0 && engine.sessionSnapshot->standIn) {
            *info = *engine.sessionSnapshot->standIn;
            return XR_OK;
        }
        if (index >= session->handleCount) return XR_NO_MORE_ITEMS;
        const Handle& handle = engine.sessionSnapshot->handles[session->firstHandle + index];
        describe(*info, handle);
        fill(info->fileName, engine.sessionSnapshot->files[handle.object]);
        return XR_OK;
    });
}

std::int16_t XrFreeKesdClientsData(std::int32_t h) {
    if (EngineHandle* engine = findEngine(h)) engine->sessionSnapshot.reset();
    return XR_OK;
}

std::int16_t XrGetSQLConnectionsData(std::int32_t h, std::uint32_t* count) {
    return answer(h, given(count), [&](EngineHandle& engine) -> std::int16_t {
        engine.connectionSnapshot = {};
        engine.connectionSnapshot = engine.readConnections();
        *count = static_cast<std::uint32_t>(engine.connectionSnapshot.size());
        return XR_OK;
    });
}

std::int16_t XrGetSQLConnectionInfo2(std::int32_t h, std::uint32_t index, XRSQLCONNINFO* info) {
    return answer(h, given(info), [&](EngineHandle& engine) -> std::int16_t {
        if (index >= engine.connectionSnapshot.size()) return XR_NO_MORE_ITEMS;
        *info = engine.connectionSnapshot[index];
        return XR_OK;
    });
}

std::int16_t XrFreeSQLConnectionsData(std::int32_t h) {
    if (EngineHandle* engine = findEngine(h)) engine->connectionSnapshot = {};
    return XR_OK;
}

std::int16_t XrGetKesdUsageEx2(std::int32_t h, XRKESDUSAGE* usage) {
    return answer(h, given(usage), [&](EngineHandle& engine) -> std::int16_t {
        *usage = engine.readUsage();
        return XR_OK;
    });
}

std::int16_t XrGetKesdCommStatEx(std::int32_t h, XRKESDCOMMSTAT* stat) {
    return answer(h, given(stat), [&](EngineHandle& engine) -> std::int16_t {
        *stat = engine.readCommunication();
        return XR_OK;
    });
}
