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
extern "C" int16_t nowhere();

int16_t XrDisconnect(int32_t /*h*/) {
    return nowhere();
}
#endif
