// SPDX-License-Identifier: MIT
#include "Engines.h"

#include <map>
#include <utility>

#include "PipeSignal.h"

namespace xr {

namespace {

// The interface is used by one thread at a time.
struct Library {
    bool started = false;
    std::int32_t lastHandle = 0;
    std::map<std::int32_t, std::unique_ptr<EngineHandle>> engines;
};

// Never destroyed: a monitor that ends without XrStop must not close connections while the client library goes away.
Library& library() {
    static auto* const s_library = new Library;
    return *s_library;
}

}  // namespace

void EngineHandle::beginCall() {
    checkLost();
    startTime();
}

void EngineHandle::abandon(std::int16_t status) {
    m_lost = status;
    close();
}

void EngineHandle::checkLost() const {
    if (m_lost != XR_OK) throw StatusError(m_lost);
}

void startLibrary() {
    if (library().started) return;
    const PipeActionGuard guard;
    if (!backend().startClient()) throw StatusError(backend().otherError);
    library().started = true;
}

void stopLibrary() {
    if (!library().started) return;
    library().engines.clear();
    library().started = false;
    backend().stopClient();
}

bool isStarted() noexcept {
    return library().started;
}

std::int32_t keepEngine(std::unique_ptr<EngineHandle> engine) {
    const std::int32_t handle = ++library().lastHandle;
    library().engines.emplace(handle, std::move(engine));
    return handle;
}

EngineHandle& engineOf(std::int32_t handle) {
    if (!library().started) throw StatusError(backend().outOfOrder);
    if (handle == XR_LOCAL_ENGINE) {
        std::unique_ptr<EngineHandle>& engine = library().engines[handle];
        if (!engine) engine = backend().makeEngine("", "", "");
        return *engine;
    }
    EngineHandle* engine = findEngine(handle);
    if (!engine) throw StatusError(backend().outOfOrder);
    return *engine;
}

EngineHandle* findEngine(std::int32_t handle) noexcept {
    const auto found = library().engines.find(handle);
    return found == library().engines.end() ? nullptr : found->second.get();
}

void dropEngine(std::int32_t handle) noexcept {
    library().engines.erase(handle);
}

}  // namespace xr
