// SPDX-License-Identifier: MIT
// The handles that this library has given out, and the frame of every exported call.
#ifndef VEXO_MARIADB_HANDLES_H
#define VEXO_MARIADB_HANDLES_H

#include <cstdint>
#include <memory>
#include <new>

#include "Connection.h"
#include "Engine.h"

namespace xrmariadb {

// Starts and stops the client library. Stopping closes every connection.
void startLibrary();
void stopLibrary();

// Gives a connected engine its handle.
std::int32_t keepEngine(std::unique_ptr<Engine> engine);

// The engine of a handle. That of XR_LOCAL_ENGINE comes into being here. Throws StatusError on an unknown handle and
// before the library is started.
Engine& engineOf(std::int32_t handle);

// The same, null instead of throwing or creating.
Engine* findEngine(std::int32_t handle) noexcept;

void dropEngine(std::int32_t handle) noexcept;

bool isStarted() noexcept;

// Runs `call` and gives the status of the interface: no exception leaves this library.
template <typename Call>
std::int16_t guarded(const Call& call) noexcept {
    try {
        return call();
    } catch (const StatusError& error) {
        return error.status();
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (...) {
        return kOtherError;
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
        if (!argumentsGiven) return kOutOfOrder;
        Engine& engine = engineOf(handle);
        engine.beginCall();
        try {
            return call(engine);
        } catch (const StatusError& error) {
            if (error.connectionLost()) engine.abandon(error.status());
            throw;
        }
    });
}

}  // namespace xrmariadb

#endif
