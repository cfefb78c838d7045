// SPDX-License-Identifier: MIT
#include "engine/XrApi.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>

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
    const std::string name = libraryName();
    void* const library = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* reason = ::dlerror();
        throw Exception(messages.getResStr("ERR_ENGINE_LIBRARY", name.c_str(), reason ? reason : ""));
    }

    XrApi api;
    std::string missing;
    const auto find = [&](const char* function, auto& pointer) {
        pointer = reinterpret_cast<std::remove_reference_t<decltype(pointer)>>(::dlsym(library, function));
        if (!pointer) missing.append(missing.empty() ? "" : ", ").append(function);
    };
#define VEXO_XR_FIND(name) find(#name, api.name);
    XR_FUNCTIONS(VEXO_XR_FIND)
#undef VEXO_XR_FIND
    if (!missing.empty()) {
        throw Exception(messages.getResStr("ERR_ENGINE_FUNCTIONS", name.c_str(), missing.c_str()));
    }
    return api;
}

}  // namespace vexo
