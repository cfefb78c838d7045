// SPDX-License-Identifier: MIT
// What has to be known of an option file before the client library reads it.
#ifndef VEXO_MARIADB_OPTIONFILE_H
#define VEXO_MARIADB_OPTIONFILE_H

#include <istream>
#include <string_view>

namespace xr::mariadb {

struct OptionFileContents {
    bool includes = false;  // other files, of which nothing is known
    bool tls = false;       // an option about TLS, whatever its group, its value and its spelling
};

// Whether a line names an option about TLS. One that would switch TLS off counts, and so do those that the client
// library does not know: whoever writes one thinks of TLS, and a connection in clear is the last thing to make of it.
bool namesTlsOption(std::string_view line);

OptionFileContents readOptionFile(std::istream& lines);

}  // namespace xr::mariadb

#endif
