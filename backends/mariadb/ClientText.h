// SPDX-License-Identifier: MIT
// Reads texts in which the server names clients and grants.
#ifndef VEXO_MARIADB_CLIENTTEXT_H
#define VEXO_MARIADB_CLIENTTEXT_H

#include <string_view>

namespace xr::mariadb {

// One end of a connection as the process list names it. Names are cut there at 64 characters, which may cost the port.
struct ClientAddress {
    bool unixSocket = false;
    std::string_view host;  // points into the text that was split
};

ClientAddress splitClientAddress(std::string_view text);

// Whether a row of SHOW GRANTS holds the PROCESS privilege.
bool grantsProcess(std::string_view grant);

}  // namespace xr::mariadb

#endif
