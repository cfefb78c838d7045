// SPDX-License-Identifier: MIT
#include "sink/OutputFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "messages/MessageHelper.h"
#include "sink/FileLock.h"
#include "sink/Sink.h"

namespace vexo {
namespace {

constexpr mode_t kOwnerOnly = 0600;

bool isFifo(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

}  // namespace

OutputFile::OutputFile(std::string path, FifoReader reader) : m_path(std::move(path)), m_reader(reader) {
}

void OutputFile::open() {
    FileDescriptor opened(isStandardOutput() ? -1 : openedDescriptor());
    const int descriptor = isStandardOutput() ? STDOUT_FILENO : opened.get();
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) fail(errno);
    const bool regular = S_ISREG(status.st_mode) && !isStandardOutput();
    if (!isSameFile(m_file.get(), opened.get())) {
        // What is cut off after a failed write could be the other program's.
        if (regular && !lockForWriting(descriptor))
            throw Exception(MessageHelper("AGENT", "AGENT_").getResStr("ERR_IN_USE", m_path.c_str()));
        m_file = std::move(opened);
        m_descriptor = descriptor;
    }
    m_isRegular = regular;
    m_size = m_isRegular ? static_cast<std::uint64_t>(status.st_size) : 0;
    if (m_isRegular && m_size != 0) endLastLine();
}

// A FIFO whose readers come and go is opened for both directions: the system then waits for none, and what one that
// leaves has not read is not lost.
int OutputFile::openedDescriptor() const {
    const int ofFifo = m_reader == FifoReader::kIsAwaited ? O_WRONLY : O_RDWR;
    const int access = isFifo(m_path) ? ofFifo : O_RDWR | O_APPEND | O_CREAT;
    const int descriptor = ::open(m_path.c_str(), access | O_CLOEXEC | O_NOCTTY, kOwnerOnly);
    if (descriptor < 0) fail(errno);
    return descriptor;
}

std::string OutputFile::head(std::size_t most) const {
    std::string bytes(most, '\0');
    const ssize_t size = m_isRegular ? ::pread(m_descriptor, bytes.data(), most, 0) : 0;
    if (size < 0) fail(errno);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

void OutputFile::endLastLine() {
    char last = '\n';
    if (::pread(m_descriptor, &last, 1, static_cast<off_t>(m_size) - 1) < 0) fail(errno);
    if (last != '\n') append("\n");
}

void OutputFile::append(std::string_view bytes) {
    if (m_descriptor < 0) fail(EBADF);
    struct stat status {};
    if (m_isRegular && ::fstat(m_descriptor, &status) == 0) m_size = static_cast<std::uint64_t>(status.st_size);
    constexpr std::string_view kEndOfLine = "\n";
    std::string_view rest = kEndOfLine;
    if (m_endsInsideLine) writeAll(rest);
    m_endsInsideLine = false;
    rest = bytes;
    try {
        writeAll(rest);
        m_size += bytes.size();
    } catch (const StreamException&) {
        // Part of a record would spoil the next one.
        takeBack(0);
        const std::string_view written = bytes.substr(0, bytes.size() - rest.size());
        m_endsInsideLine = !m_isRegular && !written.empty() && written.back() != '\n';
        throw;
    }
}

void OutputFile::awaitReader() const {
    constexpr int kTurnMs = 20;
    struct stat status {};
    if (isStandardOutput() || ::fstat(m_descriptor, &status) != 0 || !S_ISFIFO(status.st_mode)) return;
    const auto isUnread = [this] {
        int bytes = 0;
        return ::ioctl(m_descriptor, FIONREAD, &bytes) == 0 && bytes > 0 && static_cast<std::uint64_t>(bytes) >= m_size;
    };
    while (isUnread())
        ::poll(nullptr, 0, kTurnMs);
}

void OutputFile::takeBack(std::size_t bytes) {
    if (!m_isRegular) return;
    m_size -= bytes;
    static_cast<void>(!::ftruncate(m_descriptor, static_cast<off_t>(m_size)));
}

// Leaves in `bytes` what could not be written.
void OutputFile::writeAll(std::string_view& bytes) const {
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EPIPE && isStandardOutput()) {
            throw SinkGoneException(MessageHelper("AGENT", "AGENT_").getResStr("ERR_READER_GONE"));
        } else if (errno != EINTR) {
            fail(errno);
        }
    }
}

void OutputFile::fail(int errorNumber) const {
    throw StreamException(widen(isStandardOutput() ? "standard output" : m_path), errorNumber);
}

}  // namespace vexo
