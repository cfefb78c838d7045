// SPDX-License-Identifier: MIT
// The functions of the interface as values: faults, checks and the trace speak of them by name.
#ifndef XRSIM_FUNCTIONS_H
#define XRSIM_FUNCTIONS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "xradmin.h"

namespace xrsim {

enum class Function : std::uint8_t {
#define XR_ENUMERATOR(name) name,
    XR_FUNCTIONS(XR_ENUMERATOR)
#undef XR_ENUMERATOR
};

constexpr std::string_view kFunctionNames[] = {
#define XR_NAME(name) #name,
    XR_FUNCTIONS(XR_NAME)
#undef XR_NAME
};

constexpr std::string_view nameOf(Function function) {
    return kFunctionNames[static_cast<std::size_t>(function)];
}

inline std::optional<Function> functionNamed(std::string_view name) {
    for (std::size_t i = 0; i < std::size(kFunctionNames); ++i) {
        if (kFunctionNames[i] == name) return static_cast<Function>(i);
    }
    return std::nullopt;
}

}  // namespace xrsim

#endif
