// SPDX-License-Identifier: MIT
// What the interface has no argument for and the environment gives instead.
#ifndef VEXO_MARIADB_SETTINGS_H
#define VEXO_MARIADB_SETTINGS_H

#include <cstdint>
#include <string>

namespace xrmariadb {

struct Settings {
    std::string certificateAuthority;   // XRMARIADB_SSL_CA: file of certificates, given: TLS is required
    bool tlsRequired = false;           // XRMARIADB_SSL_REQUIRE: anything but "", "0" or "no"
    std::string optionFile;             // XRMARIADB_OPTION_FILE: client options, group [vexo]
    std::string logFile;                // XRMARIADB_LOG: where degradations are told, empty: nowhere
    bool notices = true;                // XRMARIADB_NOTICES: "0" or "no" keeps standard error free of them
    unsigned connectTimeout = 10;       // XRMARIADB_CONNECT_TIMEOUT: seconds
    unsigned readTimeout = 30;          // XRMARIADB_READ_TIMEOUT: seconds that one call may wait for the server
    std::uint64_t counterLimit = 1000;  // XRMARIADB_COUNTER_LIMIT: sessions up to which their counters are read
};

// Reads the variables. Numbers that are not positive keep their defaults; the limit may be 0.
Settings settingsFromEnvironment();

}  // namespace xrmariadb

#endif
