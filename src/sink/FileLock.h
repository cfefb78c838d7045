// SPDX-License-Identifier: MIT
// Keeps two programs from writing to one file.
#ifndef VEXO_SINK_FILELOCK_H
#define VEXO_SINK_FILELOCK_H

namespace vexo {

// Locks a file that is open for writing until the descriptor is closed; readers notice nothing. False where another
// program has locked it. A file system without locks locks nothing.
bool lockForWriting(int descriptor);

// Whether another program has locked the file. The descriptor may be open for reading only.
bool isLockedByAnother(int descriptor);

// Whether both are open and the same file.
bool isSameFile(int left, int right);

}  // namespace vexo

#endif
