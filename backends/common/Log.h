// SPDX-License-Identifier: MIT
// What this library tells its administrator: what it could not do, and why a record shows less than it might.
#ifndef VEXO_COMMON_LOG_H
#define VEXO_COMMON_LOG_H

#include <set>
#include <string>

namespace xr {

class Log {
public:
    // `library` names who tells, such as "xrmariadb". Appends to the file, or to none if the path is empty. A file that
    // cannot be opened is no error. Without notices nothing is written to standard error.
    Log(std::string library, std::string path, bool notices);

    // Writes a line with time and process id to the file, once for each text however often it is told.
    void tell(const std::string& text);

    // The same, and a line on standard error, once in the life of the process: for what the reader of a record has to know,
    // with a way out of it.
    void notice(const std::string& text);

private:
    std::string m_library;
    std::string m_path;
    bool m_notices;
    std::set<std::string> m_told;
};

}  // namespace xr

#endif
