// SPDX-License-Identifier: MIT
#include "foundation/TextWriter.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"

namespace vexo {
namespace {

constexpr std::size_t kBufferSize = 2048;

// write(2). The C library's function is a point where a thread may be cancelled; in a process with several threads that
// alone costs a fifteenth of what a line does, and nobody cancels threads here.
ssize_t writeSome(int descriptor, const char* data, std::size_t size) {
    return ::syscall(SYS_write, descriptor, data, size);
}

// Whether an error of a write comes from a terminal whose other side was closed: it fails in everything then.
bool isHangUp(int descriptor, int error) {
    return error == EIO && ::isatty(descriptor) == 0 && errno == EIO;
}

[[noreturn]] void raiseWriteError(int descriptor, const String& name, int error) {
    if (isHangUp(descriptor, error)) throw HangUpException(name, error);
    throw StreamException(name, error);
}

}  // namespace

Ref<TextWriter> TextWriter::onStandardOutput(Flushing flushing) {
    return makeRef<TextWriter>(STDOUT_FILENO, L"stdout", flushing);
}

Ref<TextWriter> TextWriter::onStandardError(Flushing flushing) {
    return makeRef<TextWriter>(STDERR_FILENO, L"stderr", flushing);
}

TextWriter::TextWriter(FileDescriptor file, String name, Flushing flushing)
    : m_file(std::move(file)),
      m_descriptor(m_file.get()),
      m_name(std::move(name)),
      m_flushing(flushing),
      m_buffer(kBufferSize) {
}

TextWriter::TextWriter(int borrowed, String name, Flushing flushing)
    : m_descriptor(borrowed), m_name(std::move(name)), m_flushing(flushing), m_buffer(kBufferSize) {
}

TextWriter::~TextWriter() {
    try {
        flush();
    } catch (...) {
        m_used = 0;
    }
}

void TextWriter::write(StringView text) {
    append(text, 0);
}

void TextWriter::writeLine(StringView text) {
    append(text, 1);
    m_buffer[m_used++] = '\n';
    if (m_flushing == Flushing::kAfterEveryLine) flush();
}

void TextWriter::flush() {
    const std::size_t size = std::exchange(m_used, 0);
    writeOut(m_buffer.data(), size);
}

void TextWriter::append(StringView text, std::size_t more) {
    const std::size_t needed = m_used + maxNarrowSize(text.size()) + more;
    if (needed > m_buffer.size()) m_buffer.resize(std::max(needed, 2 * m_buffer.size()));
    m_used = static_cast<std::size_t>(narrowInto(m_buffer.data() + m_used, text) - m_buffer.data());
}

void TextWriter::writeOut(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = writeSome(m_descriptor, data, size);
        if (written >= 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            // Somebody who shares the terminal or pipe set it not to block.
            pollfd target{m_descriptor, POLLOUT, 0};
            static_cast<void>(::poll(&target, 1, -1));
        } else if (errno != EINTR) {
            raiseWriteError(m_descriptor, m_name, errno);
        }
    }
}

}  // namespace vexo
