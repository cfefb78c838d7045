// SPDX-License-Identifier: MIT
#include "foundation/LineReader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Utf8.h"
#include "foundation/Encoding.h"

namespace vexo {
namespace {

// The number of bytes read, 0 at the end of the file.
std::size_t readSome(const FileDescriptor& file, char* buffer, std::size_t size, StringView name) {
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer, size);
        if (count >= 0) return static_cast<std::size_t>(count);
        const int error = errno;
        if (error != EINTR) throw StreamException(String(name), error);
    }
}

}  // namespace

LineReader::LineReader(FileDescriptor file, String name, std::size_t maxLineBytes)
    : m_file(std::move(file)), m_name(std::move(name)), m_maxLineBytes(maxLineBytes) {
}

bool LineReader::readLine(String& line) {
    line.clear();
    m_line.clear();
    if (m_next == m_end && !fill()) return false;
    ++m_lineNumber;
    do {
        const char* const start = m_buffer.data() + m_next;
        const char* const stop = m_buffer.data() + m_end;
        const char* const feed = std::find(start, stop, '\n');
        m_line.append(start, feed);
        if (m_line.size() > m_maxLineBytes) throw LineTooLongException();
        m_next = static_cast<std::size_t>(feed - m_buffer.data());
        if (feed != stop) {
            ++m_next;
            break;
        }
    } while (fill());
    appendWide(line, m_lineNumber == 1 ? utf8::withoutByteOrderMark(m_line) : m_line);
    return true;
}

bool LineReader::fill() {
    m_next = 0;
    m_end = readSome(m_file, m_buffer.data(), m_buffer.size(), m_name);
    return m_end != 0;
}

std::string readWholeFile(StringView path, std::size_t maxBytes) {
    const FileDescriptor file = openForReading(path);
    std::string bytes;
    std::array<char, 8192> buffer;
    while (const std::size_t count = readSome(file, buffer.data(), buffer.size(), path)) {
        bytes.append(buffer.data(), count);
        if (bytes.size() > maxBytes) throw StreamException(String(path), EFBIG);
    }
    return bytes;
}

}  // namespace vexo
