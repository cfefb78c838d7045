// SPDX-License-Identifier: MIT
// Applies the faults of a scenario: counts the calls that each one matches, and tells what they do to a call.
#ifndef XRSIM_FAULTS_H
#define XRSIM_FAULTS_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Scenario.h"

namespace xrsim {

class Faults {
public:
    explicit Faults(const std::vector<Fault>& faults);

    // Whether any fault may match a call of this function; the other calls need not be counted.
    bool watch(Function function) const { return (m_watched >> static_cast<unsigned>(function) & 1U) != 0; }

    // What all faults together do to this call. Counts the call.
    Effect effectOn(Function function, std::optional<std::uint32_t> index, std::optional<std::string_view> name);

private:
    struct Watch {
        const Fault* fault;
        std::uint32_t calls = 0;
    };

    std::vector<Watch> m_watches;
    std::uint32_t m_watched = 0;  // one bit for each function that a fault may match
};

}  // namespace xrsim

#endif
