// SPDX-License-Identifier: MIT
#include "foundation/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"

namespace vexo {
namespace {

FileDescriptor openFile(StringView path, int flags) {
    const std::string name = narrow(path);
    for (;;) {
        const int descriptor = ::open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666);
        if (descriptor >= 0) return FileDescriptor(descriptor);
        if (errno != EINTR) throw ResultException(resultCodeOf(errno));
    }
}

}  // namespace

FileDescriptor::~FileDescriptor() {
    if (m_descriptor >= 0) ::close(m_descriptor);
}

FileDescriptor openForReading(StringView path) {
    FileDescriptor file = openFile(path, O_RDONLY);
    struct stat status {};
    // The system opens a directory and then refuses to read it; to the user that is one refusal.
    if (::fstat(file.get(), &status) == 0 && S_ISDIR(status.st_mode)) throw ResultException(resultCodeOf(EISDIR));
    return file;
}

FileDescriptor openLogFile(StringView path) {
    return openFile(path, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND);
}

void reserveStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
        // Opened the wrong way round: a read of standard input, or a write to the others, still fails. The lowest
        // free number is the one missing here, because those below it are taken by now.
        static_cast<void>(::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

}  // namespace vexo
