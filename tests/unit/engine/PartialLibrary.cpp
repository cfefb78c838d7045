// SPDX-License-Identifier: MIT
#include <cstdint>

#include "xradmin.h"

std::int16_t XrStart(void* /*reserved*/) {
    return XR_OK;
}

std::int16_t XrStop(void* /*reserved*/) {
    return XR_OK;
}

#ifdef VEXO_UNBOUND
extern "C" std::int16_t nowhere();

std::int16_t XrDisconnect(std::int32_t /*h*/) {
    return nowhere();
}
#endif
