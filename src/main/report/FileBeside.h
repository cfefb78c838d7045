// SPDX-License-Identifier: MIT
// Files and directories that get their name when they are complete.
#ifndef VEXO_MAIN_REPORT_FILEBESIDE_H
#define VEXO_MAIN_REPORT_FILEBESIDE_H

#include <string>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "main/report/StopSignals.h"

namespace vexo {

// A name for what is being written: another one beside that which was asked for, until finish() renames it. What was not
// finished is removed. Standard output ("-"), a FIFO or a device is written itself.
class FileBeside {
public:
    explicit FileBeside(const std::string& target);
    ~FileBeside();
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    // Lets `write` write to the path that it is given, and renames that: a file takes the place of another one, a directory
    // only that of an empty one. Signals that end the program are for `write` to heed. Throws StreamException, which names
    // the target.
    template <typename Write>
    void make(Write write) {
        if (!m_isFinished) noteStopSignals();  // else there is nothing to be removed
        try {
            write(m_path);
            finish();
        } catch (const StreamException& error) {
            if (m_path == m_target) throw;  // it is named already
            throw StreamException(widen(m_target), error.errorNumber());
        }
    }

private:
    void finish();

    std::string m_target;
    std::string m_path;
    bool m_isFinished = false;
};

}  // namespace vexo

#endif
