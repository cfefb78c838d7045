// SPDX-License-Identifier: MIT
// The exported functions of the library's life, its connection and the engine itself.
#include "Library.h"
#include "TextField.h"

using namespace xrsim;

namespace {

// Servers, users and passwords have at most 255 bytes.
constexpr std::size_t kWordSize = 256;

std::string_view wordOf(const char* word) {
    return word ? textOf(word, kWordSize) : std::string_view();
}

const auto kNoArguments = [](Line&) {};
const auto kNoResults = [](Line&) {};

}  // namespace

std::int16_t XrStart(void*) {
    Library& library = Library::instance();
    return library.call(
        Function::XrStart, [&] { return library.start(); }, kNoArguments, kNoResults);
}

std::int16_t XrStop(void*) {
    Library& library = Library::instance();
    return library.call(
        Function::XrStop, [&] { return library.stop(); }, kNoArguments, kNoResults);
}

std::int16_t XrConnectServer(const char* server, const char* user, const char* password, std::int32_t* h) {
    constexpr Function kThis = Function::XrConnectServer;
    Library& library = Library::instance();
    return library.call(
        kThis,
        [&]() -> Status {
            const bool given = server && user && password && h;
            if (!library.hasRoom(kThis, given)) return kBadArgument;
            return library.connect(wordOf(server), wordOf(user), wordOf(password), *h);
        },
        [&](Line& line) {
            line.text("server", wordOf(server)).text("user", wordOf(user)).secret("password", wordOf(password));
        },
        [&](Line& line) { line.number("h", *h); });
}

std::int16_t XrDisconnect(std::int32_t h) {
    Library& library = Library::instance();
    return library.call(
        Function::XrDisconnect, [&] { return library.disconnect(h); }, [&](Line& line) { line.number("h", h); },
        kNoResults);
}

std::int16_t XrGetEngineInformation(std::int32_t h, char* text, std::uint32_t* information1,
                                    std::uint32_t* information2, std::uint32_t* information3,
                                    std::uint32_t* engineType) {
    constexpr Function kThis = Function::XrGetEngineInformation;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            const bool given = text && information1 && information2 && information3 && engineType;
            if (!library.hasRoom(kThis, given)) return kBadArgument;
            const Effect effect = library.playFaults(kThis);
            if (effect.status != kOk) return effect.status;
            const EngineFacts& engine = library.world().scenario().engine;
            putText(text, XR_ENGINE_TEXT_SIZE, textOf(engine.text));
            *information1 = engine.information[0];
            *information2 = engine.information[1];
            *information3 = engine.information[2];
            *engineType = engine.type;
            return kOk;
        },
        kNoArguments,
        [&](Line& line) {
            line.text("text", textOf(text, XR_ENGINE_TEXT_SIZE));
            line.number("information1", *information1).number("information2", *information2);
            line.number("information3", *information3).number("engineType", *engineType);
        });
}

std::int16_t XrGetKesdVersion(std::int32_t h, XRKESDVERSION* version) {
    constexpr Function kThis = Function::XrGetKesdVersion;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, version)) return kBadArgument;
            const Effect effect = library.playFaults(kThis);
            if (effect.status != kOk) return effect.status;
            *version = library.world().scenario().engine.version;
            return kOk;
        },
        kNoArguments,
        [&](Line& line) {
            line.number("majorVersion", version->majorVersion).number("minorVersion", version->minorVersion);
            line.number("thirdVersion", version->thirdVersion);
        });
}
