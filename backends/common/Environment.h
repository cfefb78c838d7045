// SPDX-License-Identifier: MIT
// What the interface has no argument for and the environment gives instead.
#ifndef VEXO_COMMON_ENVIRONMENT_H
#define VEXO_COMMON_ENVIRONMENT_H

#include <string>

namespace xr {

// The settings of every library, in variables that begin with a prefix of its own, such as "XRMARIADB_".
struct Settings {
    explicit Settings(const std::string& prefix);

    std::string logFile;           // LOG: where degradations are told, empty: nowhere
    bool notices = true;           // NOTICES: "0" or "no" keeps standard error free of them
    unsigned connectTimeout = 10;  // CONNECT_TIMEOUT: seconds
    unsigned readTimeout = 30;     // READ_TIMEOUT: seconds that one call may wait for the server
};

// A variable of the environment, "" if it is not set.
std::string variable(const std::string& name);

// Whether a value says no: "0" or "no".
bool isOff(const std::string& value);

}  // namespace xr

#endif
