// SPDX-License-Identifier: MIT
#include "Settings.h"

#include "Texts.h"

namespace xr::mariadb {

Settings::Settings() : xr::Settings("XRMARIADB_") {
    certificateAuthority = variable("XRMARIADB_SSL_CA");
    const std::string required = variable("XRMARIADB_SSL_REQUIRE");
    tlsRequired = !certificateAuthority.empty() || !(required.empty() || isOff(required));
    optionFile = variable("XRMARIADB_OPTION_FILE");
    const std::string limit = variable("XRMARIADB_COUNTER_LIMIT");
    if (isDigits(limit.substr(0, 1))) counterLimit = toNumber(limit);
}

}  // namespace xr::mariadb
