// SPDX-License-Identifier: MIT
// The library's own life, connecting, and what engine it is.
#include <string>
#include <utility>

#include "Handles.h"
#include "Texts.h"
#include "xradmin.h"

using namespace xrmariadb;

namespace {

// Sessions and data are what a MariaDB server limits, users it does not.
constexpr std::uint32_t kLimitsSessions = 6;

XRKESDVERSION split(std::uint64_t version) {
    return {static_cast<std::int32_t>(version / 10000), static_cast<std::int32_t>(version / 100 % 100),
            static_cast<std::int32_t>(version % 100)};
}

std::string orEmpty(const char* text) {
    return text ? text : "";
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
        if (!isStarted() || !h) return kOutOfOrder;
        auto engine = std::make_unique<Engine>(orEmpty(server), orEmpty(user), orEmpty(password));
        engine->connection();
        *h = keepEngine(std::move(engine));
        return XR_OK;
    });
}

std::int16_t XrDisconnect(std::int32_t h) {
    // The local engine may be left without ever having been asked anything.
    if (h != XR_LOCAL_ENGINE && !findEngine(h)) return kOutOfOrder;
    dropEngine(h);
    return XR_OK;
}

std::int16_t XrGetEngineInformation(std::int32_t h, char* text, std::uint32_t* information1,
                                    std::uint32_t* information2, std::uint32_t* information3,
                                    std::uint32_t* engineType) {
    const bool allGiven = given(text, information1, information2, information3, engineType);
    return answer(h, allGiven, [&](Engine& engine) -> std::int16_t {
        const XRKESDVERSION version = split(engine.connection().serverVersion());
        const std::string name = cleanText(engine.connection().serverText());
        const std::string_view cut = cutUtf8(name, XR_ENGINE_TEXT_SIZE - 1);
        text[cut.copy(text, cut.size())] = '\0';
        *information1 = static_cast<std::uint32_t>(version.majorVersion);
        *information2 = static_cast<std::uint32_t>(version.minorVersion);
        *information3 = static_cast<std::uint32_t>(version.thirdVersion);
        *engineType = kLimitsSessions;
        return XR_OK;
    });
}

std::int16_t XrGetKesdVersion(std::int32_t h, XRKESDVERSION* version) {
    return answer(h, given(version), [&](Engine& engine) -> std::int16_t {
        *version = split(engine.connection().serverVersion());
        return XR_OK;
    });
}
