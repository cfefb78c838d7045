// SPDX-License-Identifier: MIT
// The faults of a scenario at work: counts the calls that each one watches, and says what befalls a call.
#ifndef XRSIM_FAULTS_H
#define XRSIM_FAULTS_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Scenario.h"

namespace xrsim {

// What all faults together do to one call.
struct Mishap {
    Status status = kOk;
    std::uint32_t delayMs = 0;
    bool losesConnection = false;
    bool vanishes = false;
    std::optional<std::uint32_t> count;
    std::int64_t countChange = 0;

    // The count that a data call announces in place of `real`.
    std::uint32_t announced(std::uint32_t real) const;
};

class Faults {
public:
    explicit Faults(const std::vector<Fault>& faults);

    // Whether any fault watches this function: the others need not tell what they are called with.
    bool watch(Function function) const { return (m_watched >> static_cast<unsigned>(function) & 1U) != 0; }

    Mishap befalling(Function function, std::optional<std::uint32_t> index, std::optional<std::string_view> name);

private:
    struct Watch {
        const Fault* fault;
        std::uint32_t calls = 0;
    };

    std::vector<Watch> m_watches;
    std::uint32_t m_watched = 0;
};

}  // namespace xrsim

#endif
