// SPDX-License-Identifier: MIT
#include "export/Textfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/FileDescriptor.h"

namespace vexo {
namespace {

// Zero, or why not.
int writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) return errno;
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int writeNew(const std::string& path, std::string_view text) {
    constexpr mode_t kReadableByAll = 0644;
    // What a crash left behind goes. The new file is ours alone, even where others may write to the directory.
    ::unlink(path.c_str());
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kReadableByAll));
    if (file.get() < 0 || ::fchmod(file.get(), kReadableByAll) != 0) return errno;
    return writeAll(file.get(), text);
}

}  // namespace

void replaceTextfile(const std::string& path, std::string_view text) {
    const std::string beside = path + ".tmp";
    int error = writeNew(beside, text);
    if (error == 0 && std::rename(beside.c_str(), path.c_str()) != 0) error = errno;
    if (error == 0) return;
    ::unlink(beside.c_str());
    throw StreamException(widen(path), error);
}

}  // namespace vexo
