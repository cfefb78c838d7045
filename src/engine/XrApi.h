// SPDX-License-Identifier: MIT
// The functions of an engine library, as a table that the adapter calls through.
#ifndef VEXO_ENGINE_XRAPI_H
#define VEXO_ENGINE_XRAPI_H

#include "foundation/String.h"
#include "xradmin.h"

namespace vexo {

// One pointer for each function of the interface, under its name.
struct XrApi {
#define VEXO_XR_MEMBER(name) decltype(&::name) name = nullptr;
    XR_FUNCTIONS(VEXO_XR_MEMBER)
#undef VEXO_XR_MEMBER
};

// Opens the engine library that VEXO_ENGINE_LIBRARY names (a path or a soname; libxradmin.so when unset or empty).
// Throws an Exception that names the library and why it cannot be loaded, or all the functions that it lacks. The
// library stays loaded until the process ends: it may have threads or exit handlers of its own.
XrApi loadEngineLibrary();

}  // namespace vexo

#endif
