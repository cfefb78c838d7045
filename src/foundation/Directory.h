// SPDX-License-Identifier: MIT
// Directories of the file system.
#ifndef VEXO_FOUNDATION_DIRECTORY_H
#define VEXO_FOUNDATION_DIRECTORY_H

#include "foundation/ResultCode.h"
#include "foundation/String.h"

namespace vexo {

inline constexpr wchar_t kDirectorySeparator = L'/';

// Whether something of this path exists, of any kind.
bool pathExists(StringView path);

// Whether the path can be opened as a directory. Permission to list it is not needed.
bool directoryExists(StringView path);

// Creates one directory with mode 0777 less the umask. kSuccess, also when it is there by now, or why not.
ResultCode createDirectory(StringView path);

// The directory that relative paths start from; empty when the system does not tell.
String currentDirectory();

// The directory of the program's own file; empty when the system does not tell.
String programDirectory();

}  // namespace vexo

#endif
