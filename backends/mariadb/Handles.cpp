// SPDX-License-Identifier: MIT
#include "Handles.h"

#include <map>
#include <utility>

#include "FileCalls.h"
#include "PipeSignal.h"
#include "SessionCalls.h"

namespace xrmariadb {

namespace {

// The interface is used by one thread at a time.
struct Library {
    bool started = false;
    std::int32_t lastHandle = 0;
    std::map<std::int32_t, std::unique_ptr<Engine>> engines;
};

// Never destroyed: a monitor that ends without XrStop must not close connections while the client library goes away.
Library& library() {
    static auto* const s_library = new Library;
    return *s_library;
}

}  // namespace

void startLibrary() {
    if (library().started) return;
    const PipeActionGuard guard;
    if (mysql_library_init(0, nullptr, nullptr) != 0) throw StatusError(kOtherError);
    library().started = true;
}

void stopLibrary() {
    if (!library().started) return;
    library().engines.clear();
    library().started = false;
    mysql_library_end();
}

std::int32_t keepEngine(std::unique_ptr<Engine> engine) {
    const std::int32_t handle = ++library().lastHandle;
    library().engines.emplace(handle, std::move(engine));
    return handle;
}

Engine& engineOf(std::int32_t handle) {
    if (!library().started) throw StatusError(kOutOfOrder);
    if (handle == XR_LOCAL_ENGINE) {
        std::unique_ptr<Engine>& engine = library().engines[handle];
        if (!engine) engine = std::make_unique<Engine>("", "", "");
        return *engine;
    }
    Engine* engine = findEngine(handle);
    if (!engine) throw StatusError(kOutOfOrder);
    return *engine;
}

Engine* findEngine(std::int32_t handle) noexcept {
    const auto found = library().engines.find(handle);
    return found == library().engines.end() ? nullptr : found->second.get();
}

void dropEngine(std::int32_t handle) noexcept {
    library().engines.erase(handle);
}

bool isStarted() noexcept {
    return library().started;
}

}  // namespace xrmariadb
