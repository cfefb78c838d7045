// SPDX-License-Identifier: MIT
#include <mysql.h>

#include <utility>

#include "Connection.h"
#include "Engine.h"

namespace xr {

const Backend& backend() {
    static constexpr Backend kBackend = {
        mariadb::kOutOfOrder,
        mariadb::kOutOfMemory,
        mariadb::kOtherError,
        [] { return mysql_library_init(0, nullptr, nullptr) == 0; },
        [] { mysql_library_end(); },
        [](std::string server, std::string user, std::string password) -> std::unique_ptr<EngineHandle> {
            return std::make_unique<mariadb::Engine>(std::move(server), std::move(user), std::move(password));
        },
    };
    return kBackend;
}

}  // namespace xr
