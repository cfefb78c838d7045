// SPDX-License-Identifier: MIT
// What this library tells its administrator: what it could not do, and why a record shows less than it might.
#ifndef VEXO_MARIADB_LOG_H
#define VEXO_MARIADB_LOG_H

#include <set>
#include <string>

namespace xrmariadb {

class Log {
public:
    // Appends to the file, or to none if the path is empty. A file that cannot be opened is no error. Without notices
    // nothing is written to standard error.
    Log(std::string path, bool notices);

    // Writes a line with time and process id to the file, once for each text however often it is told.
    void tell(const std::string& text);

    // The same, and a line on standard error: for what the reader of a record has to know, with a way out of it.
    void notice(const std::string& text);

private:
    std::string m_path;
    bool m_notices;
    std::set<std::string> m_told;
    std::set<std::string> m_noticed;
};

}  // namespace xrmariadb

#endif
