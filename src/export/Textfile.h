// SPDX-License-Identifier: MIT
// A file of metrics for a collector that reads such files from a directory.
#ifndef VEXO_EXPORT_TEXTFILE_H
#define VEXO_EXPORT_TEXTFILE_H

#include <string>
#include <string_view>

namespace vexo {

// Puts `text` in place of the file `path` (bytes), mode 0644 whatever the umask. A reader finds the text before or this
// one, never a part: it is written beside the file, as `path` and ".tmp", and renamed. Throws StreamException, and leaves
// the file as it was and nothing beside it.
void replaceTextfile(const std::string& path, std::string_view text);

}  // namespace vexo

#endif
