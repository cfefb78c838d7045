// SPDX-License-Identifier: MIT
// The administrator's log of this library: what it could not do, and why a record shows less than it might.
#ifndef VEXO_MARIADB_LOG_H
#define VEXO_MARIADB_LOG_H

#include <set>
#include <string>

namespace xrmariadb {

class Log {
public:
    // Appends to the file, or tells nothing if the path is empty. A file that cannot be opened is no error.
    explicit Log(std::string path);

    // Writes a line with time and process id, once for each text however often it is told.
    void tell(const std::string& text);

private:
    std::string m_path;
    std::set<std::string> m_told;
};

}  // namespace xrmariadb

#endif
