// SPDX-License-Identifier: MIT
// Settings of this library alone.
#ifndef VEXO_MARIADB_SETTINGS_H
#define VEXO_MARIADB_SETTINGS_H

#include <cstdint>
#include <string>

#include "Environment.h"

namespace xr::mariadb {

struct Settings : xr::Settings {
    Settings();

    std::string certificateAuthority;  // XRMARIADB_SSL_CA: file of certificates, given: TLS is required
    bool tlsRequired = false;          // XRMARIADB_SSL_REQUIRE: anything but "", "0" or "no"
    std::string optionFile;            // XRMARIADB_OPTION_FILE: client options, group [vexo]
    std::uint64_t counterLimit =
        1000;  // XRMARIADB_COUNTER_LIMIT: sessions up to which their counters are read, may be 0
};

}  // namespace xr::mariadb

#endif
