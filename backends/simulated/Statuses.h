// SPDX-License-Identifier: MIT
// The statuses that only the simulated engine gives. docs/BACKENDS.md lists them.
#ifndef XRSIM_STATUSES_H
#define XRSIM_STATUSES_H

#include <cstdint>

#include "xradmin.h"

namespace xrsim {

using Status = std::int16_t;

constexpr Status kOk = XR_OK;
constexpr Status kNoMoreItems = XR_NO_MORE_ITEMS;
constexpr Status kClientGone = XR_CLIENT_GONE;
constexpr Status kFileGone = XR_FILE_GONE;

constexpr Status kScenarioWrong = 3001;
constexpr Status kUnknownServer = 3002;
constexpr Status kAccessDenied = 3003;
constexpr Status kNotConnected = 3004;
constexpr Status kConnectionLost = 3005;
constexpr Status kOutOfOrder = 3006;
constexpr Status kBadArgument = 3007;
constexpr Status kInternalFailure = 3008;
constexpr Status kInterrupted = 3009;

}  // namespace xrsim

#endif
