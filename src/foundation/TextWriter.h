// SPDX-License-Identifier: MIT
// Writes wide text to a descriptor in the encoding of the environment.
#ifndef VEXO_FOUNDATION_TEXTWRITER_H
#define VEXO_FOUNDATION_TEXTWRITER_H

#include <cstddef>
#include <vector>

#include "foundation/FileDescriptor.h"
#include "foundation/Ref.h"
#include "foundation/String.h"

namespace vexo {

// Collects text in a buffer of 2048 bytes, which grows for a longer line, so that a flushed line is one write(2).
// A write that fails throws StreamException, a HangUpException when the target is a terminal that has gone; what was
// buffered is then lost.
class TextWriter : public RefCounted {
public:
    enum class Flushing { kByHand, kAfterEveryLine };

    // A writer on standard output or standard error, which it does not close.
    static Ref<TextWriter> onStandardOutput(Flushing flushing);
    static Ref<TextWriter> onStandardError(Flushing flushing);

    // A writer on a file of its own. `name` is how messages call the file.
    TextWriter(FileDescriptor file, String name, Flushing flushing);
    TextWriter(int borrowed, String name, Flushing flushing);
    // Writes what is left; a failure has nobody left to tell.
    ~TextWriter() override;

    void write(StringView text);
    // The text and a line feed.
    void writeLine(StringView text);
    void flush();

private:
    void append(StringView text, std::size_t more);
    void writeOut(const char* data, std::size_t size);

    FileDescriptor m_file;
    int m_descriptor;
    String m_name;
    Flushing m_flushing;
    std::vector<char> m_buffer;
    std::size_t m_used = 0;
};

}  // namespace vexo

#endif
