// SPDX-License-Identifier: MIT
#include "Environment.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "Texts.h"

namespace xr {

namespace {

// Numbers that are not positive keep the default.
unsigned seconds(const std::string& name, unsigned otherwise) {
    constexpr std::uint64_t kLongest = 86400;
    const std::uint64_t number = toNumber(variable(name));
    return number == 0 ? otherwise : static_cast<unsigned>(std::min(number, kLongest));
}

}  // namespace

Settings::Settings(const std::string& prefix) {
    logFile = variable(prefix + "LOG");
    notices = !isOff(variable(prefix + "NOTICES"));
    connectTimeout = seconds(prefix + "CONNECT_TIMEOUT", connectTimeout);
    readTimeout = seconds(prefix + "READ_TIMEOUT", readTimeout);
}

std::string variable(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value ? value : "";
}

bool isOff(const std::string& value) {
    return value == "0" || value == "no";
}

}  // namespace xr
