// SPDX-License-Identifier: MIT
#include "engine/EngineCall.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <string_view>

namespace vexo {
namespace {

// Composed beforehand: a handler must not allocate.
struct Report {
    std::string before;
    std::string after;
    void (*first)() = nullptr;
};
const Report* s_report = nullptr;

// The stack may be what is exhausted. Far more than the largest signal frame.
constexpr std::size_t kStackSize = 65536;

void say(std::string_view text) {
    static_cast<void>(!::write(STDERR_FILENO, text.data(), text.size()));
}

// The disposition is the default again by now, and the signal held until the handler returns.
void onCrash(int signal) {
    if (s_report->first) s_report->first();
    if (const char* call = s_runningCall.load(std::memory_order_relaxed)) {
        say(s_report->before);
        say(call);
        say(s_report->after);
    }
    std::raise(signal);
}

// Unless the thread has one already: a sanitizer releases the one that it finds when the thread ends.
void useStackOfItsOwn() {
    static std::array<std::byte, kStackSize> memory;
    stack_t stack{};
    if (::sigaltstack(nullptr, &stack) != 0 || (stack.ss_flags & SS_DISABLE) == 0) return;
    stack = {};
    stack.ss_sp = memory.data();
    stack.ss_size = memory.size();
    ::sigaltstack(&stack, nullptr);
}

}  // namespace

void reportCrashes(const std::string& line, void (*first)()) {
    static Report report;
    const std::size_t place = line.find(kCallPlaceholder);
    // A bundle of the user's own may have no place for the name: then it comes at the end, before the line feed.
    report = place != std::string::npos ? Report{line.substr(0, place), line.substr(place + 1), first}
                                        : Report{line.substr(0, line.size() - 1), line.substr(line.size() - 1), first};
    s_report = &report;
    bool any = false;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action = {};
        action.sa_handler = onCrash;
        action.sa_flags = static_cast<int>(SA_ONSTACK | SA_RESETHAND);
        sigemptyset(&action.sa_mask);
        any |= ::sigaction(signal, &action, nullptr) == 0;
    }
    if (any) useStackOfItsOwn();
}

}  // namespace vexo
