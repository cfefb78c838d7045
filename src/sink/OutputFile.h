// SPDX-License-Identifier: MIT
// A file that records are appended to.
#ifndef VEXO_SINK_OUTPUTFILE_H
#define VEXO_SINK_OUTPUTFILE_H

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/FileDescriptor.h"

namespace vexo {

// Whether what is written to a FIFO has a reader: of one that is awaited, opening waits for the first, and its leaving is
// an error. Otherwise readers come and go, and nobody waits for them.
enum class FifoReader : std::uint8_t { kComesAndGoes, kIsAwaited };

// A regular file, a FIFO, a device, or standard output. What is appended goes to the end of the file as it is then.
// Operations throw StreamException when they fail. For use by one thread.
class OutputFile {
public:
    // `path` is in bytes; "-" is standard output. Opens nothing yet.
    explicit OutputFile(std::string path, FifoReader reader = FifoReader::kComesAndGoes);

    // Opens the file, created with mode 0600 when missing, and keeps other programs from doing the same. An incomplete
    // last line, which a crash of the machine left, is ended. Throws an Exception with a message when another
    // program writes to a regular file.
    void open();
    // The first bytes of a file that has some, at most as many as asked for.
    std::string head(std::size_t most) const;
    bool isEmpty() const { return m_size == 0; }
    // Appends all of `bytes`, or nothing where the file can be cut; elsewhere a line that a failure cut is ended first.
    // Throws SinkGoneException when the reader of standard output has left.
    void append(std::string_view bytes);

    // Waits for as long as a FIFO holds all that was appended, which would go with it: until somebody reads it.
    void awaitReader() const;

    // Takes back what append() has just written, where the file can be cut.
    void takeBack(std::size_t bytes);

    const std::string& path() const { return m_path; }
    // What the file holds. May be called on any thread.
    std::uint64_t size() const { return m_size; }

private:
    bool isStandardOutput() const { return m_path == "-"; }
    int openedDescriptor() const;
    void endLastLine();
    void writeAll(std::string_view& bytes) const;
    [[noreturn]] void fail(int errorNumber) const;

    const std::string m_path;
    const FifoReader m_reader;
    FileDescriptor m_file;
    int m_descriptor = -1;
    bool m_isRegular = false;
    bool m_endsInsideLine = false;  // what cannot be cut, after a failure
    std::atomic<std::uint64_t> m_size{0};
};

}  // namespace vexo

#endif
