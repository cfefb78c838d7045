// SPDX-License-Identifier: MIT
// A file of metrics for a collector that reads such files from a directory.
#ifndef VEXO_EXPORT_TEXTFILE_H
#define VEXO_EXPORT_TEXTFILE_H

#include <string>
#include <string_view>
#include <utility>

#include "foundation/FileDescriptor.h"

namespace vexo {

class Textfile {
public:
    // The path in bytes. Writes nothing yet.
    explicit Textfile(std::string path) : m_path(std::move(path)) {}

    // Puts `text` in place of the file, mode 0644 whatever the umask. A reader finds the text before or this one, never a
    // part: it is written beside the file, as its path and ".tmp", and renamed. The file is locked as long as this object
    // lives. Throws an Exception with a message when another program has it locked, or when it is a device or a FIFO;
    // StreamException when the text cannot be written. The file stays as it was then, and nothing beside it.
    void replace(std::string_view text);

    const std::string& path() const { return m_path; }

private:
    bool isAnothers() const;

    const std::string m_path;
    FileDescriptor m_current;  // what was put in place last
};

}  // namespace vexo

#endif
