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
        case EISDIR:  // a directory where a file is wanted
        case ETXTBSY:
            return kAccessDenied;
        case ENOENT:
        case ENOTDIR:  // a file where a directory of the path is wanted
        case EEXIST:   // the same, met while creating that directory
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
