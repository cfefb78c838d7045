// SPDX-License-Identifier: MIT
#include "Faults.h"

#include <algorithm>

namespace xrsim {
namespace {

static_assert(std::size(kFunctionNames) <= 32, "m_watched has one bit for each function");

bool matches(const Fault& fault, Function function, std::optional<std::uint32_t> index,
             std::optional<std::string_view> name) {
    if (fault.function && *fault.function != function) return false;
    if (fault.index && fault.index != index) return false;
    return !fault.name || (name && *fault.name == *name);
}

}  // namespace

bool Effect::isNothing() const {
    return status == kOk && delayMs == 0 && crash == Crash::kNone && !losesConnection && !vanishes && !count &&
           countChange == 0;
}

void Effect::add(const Effect& other) {
    if (status == kOk) status = other.status;
    delayMs += other.delayMs;
    if (crash == Crash::kNone) crash = other.crash;
    isInterruptible |= other.isInterruptible;
    losesConnection |= other.losesConnection;
    vanishes |= other.vanishes;
    if (other.count) count = other.count;
    countChange += other.countChange;
}

std::uint32_t Effect::announced(std::uint32_t real) const {
    const std::int64_t changed = std::int64_t{count.value_or(real)} + countChange;
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(changed, 0, UINT32_MAX));
}

Faults::Faults(const std::vector<Fault>& faults) {
    for (const Fault& fault : faults) {
        m_watches.push_back({&fault});
        m_watched |= fault.function ? 1U << static_cast<unsigned>(*fault.function) : UINT32_MAX;
    }
}

Effect Faults::effectOn(Function function, std::optional<std::uint32_t> index, std::optional<std::string_view> name) {
    Effect effect;
    for (Watch& watch : m_watches) {
        const Fault& fault = *watch.fault;
        if (!matches(fault, function, index, name)) continue;
        ++watch.calls;
        if (watch.calls < fault.firstCall || watch.calls - fault.firstCall >= fault.times) continue;
        effect.add(fault.effect);
    }
    return effect;
}

}  // namespace xrsim
