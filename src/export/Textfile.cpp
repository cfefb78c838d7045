// SPDX-License-Identifier: MIT
#include "export/Textfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "messages/MessageHelper.h"
#include "sink/FileLock.h"

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

int writeNew(const std::string& path, std::string_view text, FileDescriptor& file) {
    constexpr mode_t kOwnerOnly = 0600;
    constexpr mode_t kReadableByAll = 0644;
    // What a crash left behind goes. The new file is ours alone, even where others may write to the directory.
    ::unlink(path.c_str());
    file = FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly));
    if (file.get() < 0) return errno;
    lockForWriting(file.get());  // before others may read the file and lock it for that
    return ::fchmod(file.get(), kReadableByAll) != 0 ? errno : writeAll(file.get(), text);
}

// A device, a FIFO or a socket would be gone for all who use it.
bool isReplaceable(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

}  // namespace

void Textfile::replace(std::string_view text) {
    if (!isReplaceable(m_path))
        throw Exception(MessageHelper("AGENT", "AGENT_").getResStr("ERR_NOT_REPLACEABLE", m_path.c_str()));
    if (isAnothers()) throw Exception(MessageHelper("AGENT", "AGENT_").getResStr("ERR_IN_USE", m_path.c_str()));
    const std::string beside = m_path + ".tmp";
    FileDescriptor file;
    int error = writeNew(beside, text, file);
    if (error == 0 && std::rename(beside.c_str(), m_path.c_str()) != 0) error = errno;
    if (error == 0) {
        m_current = std::move(file);
        return;
    }
    ::unlink(beside.c_str());
    throw StreamException(widen(m_path), error);
}

// Looked at each time: of two programs that start at once both may find no file.
bool Textfile::isAnothers() const {
    const FileDescriptor found(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return found.get() >= 0 && !isSameFile(found.get(), m_current.get()) && isLockedByAnother(found.get());
}

}  // namespace vexo
