// SPDX-License-Identifier: MIT
#include "OptionFile.h"

#include <algorithm>
#include <string>

namespace xr::mariadb {

namespace {

std::string withoutBlanksInFront(std::string_view line) {
    const std::size_t start = std::min(line.find_first_not_of(" \t\r\f\v"), line.size());
    return std::string(line.substr(start));
}

}  // namespace

bool namesTlsOption(std::string_view line) {
    std::string option = withoutBlanksInFront(line);
    std::transform(option.begin(), option.end(), option.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (option.empty() || option[0] == '#' || option[0] == ';' || option[0] == '[') return false;
    // The value of "connection" holds options of its own.
    if (option.compare(0, 10, "connection") != 0) option.resize(std::min(option.find('='), option.size()));
    return option.find("ssl") != std::string::npos || option.find("tls") != std::string::npos;
}

OptionFileContents readOptionFile(std::istream& lines) {
    OptionFileContents contents;
    for (std::string line; std::getline(lines, line);) {
        // A carriage return alone may have been meant to end a line.
        for (std::size_t at = 0; at <= line.size(); at = std::min(line.find('\r', at), line.size()) + 1) {
            const std::string rest = line.substr(at);
            contents.includes = contents.includes || withoutBlanksInFront(rest).substr(0, 1) == "!";
            contents.tls = contents.tls || namesTlsOption(rest);
        }
    }
    return contents;
}

}  // namespace xr::mariadb
