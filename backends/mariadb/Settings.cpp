// SPDX-License-Identifier: MIT
#include "Settings.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "Texts.h"

namespace xrmariadb {

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool isOff(const std::string& value) {
    return value == "0" || value == "no";
}

bool startsWithDigit(std::string_view text) {
    return !text.empty() && text[0] >= '0' && text[0] <= '9';
}

unsigned seconds(const char* name, unsigned otherwise) {
    constexpr std::uint64_t kLongest = 86400;
    const std::uint64_t number = toNumber(variable(name));
    return number == 0 ? otherwise : static_cast<unsigned>(std::min(number, kLongest));
}

}  // namespace

Settings settingsFromEnvironment() {
    Settings settings;
    settings.certificateAuthority = variable("XRMARIADB_SSL_CA");
    const std::string required = variable("XRMARIADB_SSL_REQUIRE");
    settings.tlsRequired = !settings.certificateAuthority.empty() || !(required.empty() || isOff(required));
    settings.optionFile = variable("XRMARIADB_OPTION_FILE");
    settings.logFile = variable("XRMARIADB_LOG");
    settings.notices = !isOff(variable("XRMARIADB_NOTICES"));
    settings.connectTimeout = seconds("XRMARIADB_CONNECT_TIMEOUT", settings.connectTimeout);
    settings.readTimeout = seconds("XRMARIADB_READ_TIMEOUT", settings.readTimeout);
    const std::string limit = variable("XRMARIADB_COUNTER_LIMIT");
    if (startsWithDigit(limit)) settings.counterLimit = toNumber(limit);
    return settings;
}

}  // namespace xrmariadb
