// SPDX-License-Identifier: MIT
// The simulated engine with a temper: XRPROBE lists what it does in addition. Functions that are not here are found in
// the simulated engine, which this library depends on.
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "xradmin.h"

namespace {

constexpr std::int16_t kTrouble = 94;

bool does(const char* what) {
    const char* list = std::getenv("XRPROBE");
    return list && std::strstr(list, what);
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

// Takes a while, and fails when a signal cuts that short: many a library does not retry.
std::int16_t wait() {
    const timespec delay{0, 30'000'000};
    return does("interrupted") && ::nanosleep(&delay, nullptr) != 0 ? kTrouble : std::int16_t{XR_OK};
}

// A thread that is there before the first call, with whatever signal mask the process has then.
[[gnu::constructor]] void startThread() {
    if (!does("thread")) return;
    pthread_t thread{};
    pthread_create(
        &thread, nullptr, [](void*) -> void* { return ::pause(), nullptr; }, nullptr);
    pthread_detach(thread);
}

}  // namespace

std::int16_t XrStart(void* reserved) {
    if (does("signalled")) ::kill(::getpid(), SIGTERM);
    return next<decltype(&::XrStart)>("XrStart")(reserved);
}

std::int16_t XrConnectServer(const char* server, const char* user, const char* password, std::int32_t* h) {
    if (wait() != XR_OK) return kTrouble;
    if (does("locale")) std::setlocale(LC_ALL, "C");
    return next<decltype(&::XrConnectServer)>("XrConnectServer")(server, user, password, h);
}

std::int16_t XrGetKesdUsageEx2(std::int32_t h, XRKESDUSAGE* usage) {
    if (does("abort")) std::abort();
    if (does("overrun")) *static_cast<volatile char*>(nullptr) = 0;
    if (does("locale") && MB_CUR_MAX != 1) return kTrouble;  // not the locale that it set for itself
    if (wait() != XR_OK) return kTrouble;
    return next<decltype(&::XrGetKesdUsageEx2)>("XrGetKesdUsageEx2")(h, usage);
}
