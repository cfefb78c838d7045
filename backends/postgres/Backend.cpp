// SPDX-License-Identifier: MIT
#include <utility>

#include "Engine.h"

namespace xr {

const Backend& backend() {
    // The client library needs no start.
    static constexpr Backend kBackend = {
        postgres::kOutOfOrder,
        postgres::kOutOfMemory,
        postgres::kOtherError,
        [] { return true; },
        [] {},
        [](std::string server, std::string user, std::string password) -> std::unique_ptr<EngineHandle> {
            return std::make_unique<postgres::Engine>(std::move(server), std::move(user), std::move(password));
        },
    };
    return kBackend;
}

}  // namespace xr
