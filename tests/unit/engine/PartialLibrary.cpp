// SPDX-License-Identifier: MIT
#include "xradmin.h"

int16_t XrStart(void* /*reserved*/) {
    return XR_OK;
}

int16_t XrStop(void* /*reserved*/) {
    return XR_OK;
}
