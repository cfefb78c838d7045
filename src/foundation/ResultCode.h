// SPDX-License-Identifier: MIT
// 32-bit result codes in the style of COM, and what the system's error numbers become.
#ifndef VEXO_FOUNDATION_RESULTCODE_H
#define VEXO_FOUNDATION_RESULTCODE_H

#include <cstdint>

#include "foundation/String.h"

namespace vexo {

using ResultCode = std::int32_t;

inline constexpr ResultCode kSuccess = 0;
inline constexpr auto kUnspecifiedFailure = static_cast<ResultCode>(0x80004005);
inline constexpr auto kFileNotFound = static_cast<ResultCode>(0x80070002);
inline constexpr auto kAccessDenied = static_cast<ResultCode>(0x80070005);
inline constexpr auto kOutOfMemory = static_cast<ResultCode>(0x8007000E);
// Any other error number of the system is kept in the low bits of a code of our own, from which it can be read back.
inline constexpr auto kSystemErrorBase = static_cast<ResultCode>(0xA0040000);

// The code for an error number (errno) of a file operation. Never 0.
ResultCode resultCodeOf(int errorNumber);

// The system's own words for an error number.
String systemReason(int errorNumber);

}  // namespace vexo

#endif
