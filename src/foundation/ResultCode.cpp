// SPDX-License-Identifier: MIT
#include "foundation/ResultCode.h"

#include <cerrno>
#include <cstring>

#include "foundation/Encoding.h"

namespace vexo {

ResultCode resultCodeOf(int errorNumber) {
    switch (errorNumber) {
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:  // a directory where a file is expected
        case ETXTBSY:
            return kAccessDenied;
        case ENOENT:
        case ENOTDIR:  // a file where the path needs a directory
        case EEXIST:   // the same, found while creating that directory
            return kFileNotFound;
        case ENOMEM:
            return kOutOfMemory;
        default:
            return kSystemErrorBase + errorNumber;
    }
}

String systemReason(int errorNumber) {
    char buffer[256];
    return widen(strerror_r(errorNumber, buffer, sizeof buffer));
}

}  // namespace vexo
