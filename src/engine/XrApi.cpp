// SPDX-License-Identifier: MIT
#include "engine/XrApi.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <type_traits>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "messages/MessageHelper.h"

namespace vexo {
namespace {

std::string libraryName() {
    const char* name = std::getenv("VEXO_ENGINE_LIBRARY");
    return name && *name ? name : "libxradmin.so";
}

}  // namespace

XrApi loadEngineLibrary() {
    const MessageHelper messages("VEXO", "VEXO_");
    const std::string path = libraryName();
    void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* reason = ::dlerror();
        throw Exception(messages.getResStr("ERR_ENGINE_LIBRARY", path.c_str(), reason ? reason : ""));
    }

    XrApi api;
    std::string missing;
    const auto find = [&](const char* name, auto& function) {
        using Function = typename std::remove_reference_t<decltype(function)>::Function;
        void* const address = ::dlsym(library, name);
        if (!address) missing.append(missing.empty() ? "" : ", ").append(name);
        function = reinterpret_cast<Function>(address);
    };
#define VEXO_XR_FIND(name) find(#name, api.name);
    XR_FUNCTIONS(VEXO_XR_FIND)
#undef VEXO_XR_FIND
    if (!missing.empty()) {
        throw Exception(messages.getResStr("ERR_ENGINE_FUNCTIONS", path.c_str(), missing.c_str()));
    }
    return api;
}

}  // namespace vexo
