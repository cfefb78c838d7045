// SPDX-License-Identifier: MIT
// Reads a file line by line, decoded by the encoding of the environment.
#ifndef VEXO_FOUNDATION_LINEREADER_H
#define VEXO_FOUNDATION_LINEREADER_H

#include <array>
#include <cstddef>
#include <string>

#include "foundation/FileDescriptor.h"
#include "foundation/String.h"

namespace vexo {

class LineReader {
public:
    // `name` is how messages call the file.
    LineReader(FileDescriptor file, String name);

    // Puts the next line, without its line feed, into `line`; false at the end of the file. A last line needs no line
    // feed. Throws IOException, which names the file and the reason.
    bool readLine(String& line);

private:
    bool fill();

    FileDescriptor m_file;
    String m_name;
    std::array<char, 2048> m_buffer{};
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    std::string m_line;
};

// All bytes of a file, decoded by nobody. Throws ResultException when it cannot be opened, IOException when it cannot
// be read.
std::string readWholeFile(StringView path);

}  // namespace vexo

#endif
