// SPDX-License-Identifier: MIT
#include "Faults.h"

#include <algorithm>

namespace xrsim {

static_assert(std::size(kFunctionNames) <= 32, "m_watched has one bit for each function");

std::uint32_t Mishap::announced(std::uint32_t real) const {
    const std::int64_t changed = std::int64_t{count.value_or(real)} + countChange;
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(changed, 0, UINT32_MAX));
}

Faults::Faults(const std::vector<Fault>& faults) {
    for (const Fault& fault : faults) {
        m_watches.push_back({&fault});
        m_watched |= fault.function ? 1U << static_cast<unsigned>(*fault.function) : UINT32_MAX;
    }
}

Mishap Faults::befalling(Function function, std::optional<std::uint32_t> index, std::optional<std::string_view> name) {
    Mishap mishap;
    for (Watch& watch : m_watches) {
        const Fault& fault = *watch.fault;
        if (fault.function && *fault.function != function) continue;
        if (fault.index && fault.index != index) continue;
        if (fault.name && (!name || *fault.name != *name)) continue;
        ++watch.calls;
        if (watch.calls < fault.firstCall || watch.calls - fault.firstCall >= fault.times) continue;
        if (mishap.status == kOk) mishap.status = fault.status;
        mishap.delayMs += fault.delayMs;
        mishap.losesConnection |= fault.losesConnection;
        mishap.vanishes |= fault.vanishes;
        if (fault.count) mishap.count = fault.count;
        mishap.countChange += fault.countChange;
    }
    return mishap;
}

}  // namespace xrsim
