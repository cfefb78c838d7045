// SPDX-License-Identifier: MIT
#include <cstdint>

#include "xradmin.h"

std::int16_t XrStart(void* /*reserved*/) {
    return XR_OK;
}

std::int16_t XrStop(void* /*reserved*/) {
    return XR_OK;
}
