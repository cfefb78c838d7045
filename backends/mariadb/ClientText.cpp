// SPDX-License-Identifier: MIT
#include "ClientText.h"

#include <string>

#include "Texts.h"

namespace xr::mariadb {

ClientAddress splitClientAddress(std::string_view text) {
    // Clients over TCP always carry a port, so the bare word is the Unix socket.
    if (text == "localhost") return {true, text};
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || !isDigits(text.substr(colon + 1))) return {false, text};
    return {false, text.substr(0, colon)};
}

bool grantsProcess(std::string_view grant) {
    // A user's name stands behind it and may be anything.
    const std::string_view privileges = grant.substr(0, grant.find(" ON "));
    if (privileges.size() == grant.size() || grant.substr(privileges.size(), 11) != " ON *.* TO ") return false;
    return privileges == "GRANT ALL PRIVILEGES" ||
           (std::string(privileges) + ",").find(" PROCESS,") != std::string::npos;
}

}  // namespace xr::mariadb
