// SPDX-License-Identifier: MIT
// The functions of an engine library, as a table that the adapter calls through.
#ifndef VEXO_ENGINE_XRAPI_H
#define VEXO_ENGINE_XRAPI_H

#include "engine/EngineCall.h"
#include "xradmin.h"

namespace vexo {

// Each function of the interface, under its name.
struct XrApi {
#define VEXO_XR_MEMBER(name) EngineFunction<decltype(&::name)> name{#name};
    XR_FUNCTIONS(VEXO_XR_MEMBER)
#undef VEXO_XR_MEMBER
};

// Opens the engine library that VEXO_ENGINE_LIBRARY names (libxradmin.so when unset or empty): a path, or a name that is
// looked for in the directory of libraries beside the program's own, and where the system's loader looks.
// Throws an Exception that names the library and why it cannot be loaded, or all the functions that it lacks. The
// library stays loaded until the process ends: it may have threads or exit handlers of its own.
XrApi loadEngineLibrary();

}  // namespace vexo

#endif
