// SPDX-License-Identifier: MIT
#include "foundation/Directory.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "foundation/Encoding.h"
#include "foundation/FileDescriptor.h"

namespace vexo {
namespace {

// kSuccess when the path can be opened as a directory, or why not.
ResultCode openDirectory(StringView path) {
    const FileDescriptor directory(::open(narrow(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return directory.get() >= 0 ? kSuccess : resultCodeOf(errno);
}

}  // namespace

bool pathExists(StringView path) {
    struct stat status {};
    return ::stat(narrow(path).c_str(), &status) == 0;
}

bool directoryExists(StringView path) {
    return openDirectory(path) == kSuccess;
}

ResultCode createDirectory(StringView path) {
    if (::mkdir(narrow(path).c_str(), 0777) == 0) return kSuccess;
    // Several monitors started together create the same directories: another one may have been faster. Or something is
    // there that is no directory, or leads nowhere, such as a circle of links.
    return errno == EEXIST ? openDirectory(path) : resultCodeOf(errno);
}

String currentDirectory() {
    std::error_code failed;
    return widen(std::filesystem::current_path(failed).native());
}

String programDirectory() {
    std::error_code failed;
    auto program = std::filesystem::read_symlink("/proc/self/exe", failed);
    if (failed) {
        // Without /proc, as in some containers, the name that the program was started by remains.
        const auto* const name = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));  // NOLINT: given as a number
        program = std::filesystem::canonical(name ? name : "", failed);
    }
    return widen(program.parent_path().native());
}

}  // namespace vexo
