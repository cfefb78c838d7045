// SPDX-License-Identifier: MIT
#include "sink/FileLock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace vexo {
namespace {

struct flock wholeFile(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

}  // namespace

// Of the open file and not of the process: closing another descriptor of the same file does not give it up.
bool lockForWriting(int descriptor) {
    struct flock lock = wholeFile(F_WRLCK);
    return ::fcntl(descriptor, F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

// Whoever may read the file could lock it for reading; only a lock for writing tells of a program that writes.
bool isLockedByAnother(int descriptor) {
    struct flock lock = wholeFile(F_RDLCK);
    return ::fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool isSameFile(int left, int right) {
    struct stat one {};
    struct stat other {};
    return ::fstat(left, &one) == 0 && ::fstat(right, &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino;
}

}  // namespace vexo
