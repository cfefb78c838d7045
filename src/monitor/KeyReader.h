// SPDX-License-Identifier: MIT
// Reads keys for the key mode, so that a signal ends the wait for one.
#ifndef VEXO_MONITOR_KEYREADER_H
#define VEXO_MONITOR_KEYREADER_H

#include <optional>

#include "foundation/FileDescriptor.h"
#include "messages/MessageHelper.h"

namespace vexo {

// A thread of its own does the reading, one byte each time that a key is asked for. Looking whether there is a byte and
// then reading it would not do: whoever shares standard input may take the byte in between, and the read goes on
// waiting through a signal.
class KeyReader {
public:
    // Throws ResultException, with a text from `messages`, when the thread cannot be started.
    explicit KeyReader(const MessageHelper& messages);

    // The next key, or kEndOfInput; nothing as soon as a signal has come. The byte that is then being waited for is
    // still taken from standard input.
    std::optional<int> next();

private:
    FileDescriptor m_thread;  // closed, it ends the thread
};

}  // namespace vexo

#endif
