// SPDX-License-Identifier: MIT
#include "foundation/Directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "foundation/Encoding.h"
#include "foundation/FileDescriptor.h"

namespace vexo {

bool pathExists(StringView path) {
    struct stat status {};
    return ::stat(narrow(path).c_str(), &status) == 0;
}

bool directoryExists(StringView path) {
    return FileDescriptor(::open(narrow(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)).get() >= 0;
}

ResultCode createDirectory(StringView path) {
    return ::mkdir(narrow(path).c_str(), 0777) == 0 ? kSuccess : resultCodeOf(errno);
}

String currentDirectory() {
    std::error_code failed;
    return widen(std::filesystem::current_path(failed).native());
}

String programDirectory() {
    std::error_code failed;
    return widen(std::filesystem::read_symlink("/proc/self/exe", failed).parent_path().native());
}

}  // namespace vexo
