// SPDX-License-Identifier: MIT
// Files and directories that get their name when they are complete.
#ifndef VEXO_MAIN_REPORT_FILEBESIDE_H
#define VEXO_MAIN_REPORT_FILEBESIDE_H

#include <string>

namespace vexo {

// A name for what is being written: another one beside that which was asked for, until finish() renames it. What was not
// finished is removed. Standard output ("-"), a FIFO or a device is written itself.
class FileBeside {
public:
    explicit FileBeside(const std::string& target);
    ~FileBeside();
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    // Where to write.
    const std::string& path() const { return m_path; }
    // A file takes the place of another one, a directory only that of an empty one. Throws StreamException.
    void finish();

private:
    std::string m_target;
    std::string m_path;
    bool m_isFinished = false;
};

}  // namespace vexo

#endif
