// SPDX-License-Identifier: MIT
// Reads a file line by line, decoded by the encoding of the environment.
#ifndef VEXO_FOUNDATION_LINEREADER_H
#define VEXO_FOUNDATION_LINEREADER_H

#include <array>
#include <cstddef>
#include <string>

#include "foundation/Exception.h"
#include "foundation/FileDescriptor.h"
#include "foundation/String.h"

namespace vexo {

// A line is longer than its reader takes. Brings no message.
class LineTooLongException : public Exception {
public:
    using Exception::Exception;
};

class LineReader {
public:
    // `name` is what error messages call the file; `maxLineBytes` bounds the memory that a line may take.
    LineReader(FileDescriptor file, String name, std::size_t maxLineBytes);

    // Puts the next line, without its line feed, into `line`; false at the end of the file. A last line needs no line
    // feed, and the byte order mark that some editors write at the start of a file is dropped. Throws StreamException
    // when the file cannot be read, LineTooLongException when the line is longer than allowed.
    bool readLine(String& line);

    // The number of the line read last, or of the one that was too long; the first is 1.
    int lineNumber() const { return m_lineNumber; }

private:
    bool fill();

    FileDescriptor m_file;
    String m_name;
    std::size_t m_maxLineBytes;
    int m_lineNumber = 0;
    std::array<char, 2048> m_buffer{};
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    std::string m_line;
};

// All bytes of a file, as they are. Throws ResultException when it cannot be opened, StreamException when it cannot be
// read or has more than `maxBytes`.
std::string readWholeFile(StringView path, std::size_t maxBytes);

}  // namespace vexo

#endif
