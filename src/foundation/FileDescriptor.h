// SPDX-License-Identifier: MIT
// Descriptors of files and of the three standard streams.
#ifndef VEXO_FOUNDATION_FILEDESCRIPTOR_H
#define VEXO_FOUNDATION_FILEDESCRIPTOR_H

#include <utility>

#include "foundation/String.h"

namespace vexo {

// Owns an open descriptor and closes it; -1 stands for none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor();

    int get() const { return m_descriptor; }

private:
    int m_descriptor = -1;
};

// Opens a file for reading, anything that can be read but a directory. Throws ResultException without a text.
FileDescriptor openForReading(StringView path);

// Opens a log file: created when missing, emptied otherwise. Each write goes to the end of the file as it is then, so
// that a rotation may copy and truncate it meanwhile. Throws ResultException without a text.
FileDescriptor openLogFile(StringView path);

// Occupies the standard descriptors that were closed before the start, so that no file opened later is taken for one
// of them. Using such a stream still fails.
void reserveStandardDescriptors();

}  // namespace vexo

#endif
