// SPDX-License-Identifier: MIT
// Calls into the engine library, and what the user is told when one of them crashes.
#ifndef VEXO_ENGINE_ENGINECALL_H
#define VEXO_ENGINE_ENGINECALL_H

#include <atomic>
#include <string>

#include "foundation/Locale.h"

namespace vexo {

// The engine call that is running; null outside of one.
inline std::atomic<const char*> s_runningCall{nullptr};

// A function of the engine library under its name; called like the function itself.
template <typename Function>
class EngineFunction;

template <typename Status, typename... Parameters>
class EngineFunction<Status (*)(Parameters...)> {
public:
    using Function = Status (*)(Parameters...);

    explicit EngineFunction(const char* name) : m_name(name) {}
    EngineFunction& operator=(Function function) {
        m_function = function;
        return *this;
    }

    Status operator()(Parameters... arguments) const {
        const ProcessLocale locale;  // not the monitor's own: the library may have set another one for itself
        const Running running(m_name);
        return m_function(arguments...);
    }

private:
    // Only a handler on the same thread reads the name, so no ordering between threads is paid for.
    struct Running {
        explicit Running(const char* name) { s_runningCall.store(name, std::memory_order_relaxed); }
        ~Running() { s_runningCall.store(nullptr, std::memory_order_relaxed); }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
    };

    const char* m_name;
    Function m_function = nullptr;
};

// Stands in a sentence for the name of the call, which is only known when it crashes.
inline constexpr char kCallPlaceholder[] = "\1";

// From here on, when the process crashes during an engine call, `line`, which ends with its line feed, is written to
// standard error with the name of the function at its placeholder; then the signal does what it does otherwise. Crashes
// that something else handles already, a sanitizer for instance, are left to it. `first` is called before, also for
// crashes outside of a call; it has to be fit for a signal handler.
void reportCrashes(const std::string& line, void (*first)() = nullptr);

}  // namespace vexo

#endif
