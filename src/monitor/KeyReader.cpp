// SPDX-License-Identifier: MIT
#include "monitor/KeyReader.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "foundation/Exception.h"
#include "foundation/NamedThread.h"
#include "foundation/StandardInput.h"
#include "monitor/StopSignals.h"

namespace vexo {
namespace {

// Both ends exchange whole ints: the main thread sends one for each key that it wants, the thread answers with the key.
bool send(const FileDescriptor& end, int number) {
    return ::send(end.get(), &number, sizeof number, MSG_NOSIGNAL) == sizeof number;
}

bool receive(const FileDescriptor& end, int& number) {
    ssize_t size = 0;
    do {
        size = ::recv(end.get(), &number, sizeof number, 0);
    } while (size < 0 && errno == EINTR);  // by a signal of the engine library's own
    return size == sizeof number;
}

void readKeys(void* arguments) {
    const std::unique_ptr<FileDescriptor> main(static_cast<FileDescriptor*>(arguments));
    int request = 0;
    while (receive(*main, request) && send(*main, readStandardInput())) {
    }
}

}  // namespace

KeyReader::KeyReader(const MessageHelper& messages) {
    const auto refuse = [&messages](ResultCode code) {
        throw ResultException(code, messages.getResStr("THREAD_FATAL_ERROR", code));
    };
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) refuse(resultCodeOf(errno));
    m_thread = FileDescriptor(ends[0]);
    auto main = std::make_unique<FileDescriptor>(ends[1]);
    if (const ResultCode refused = NamedThread(L"VexoKeyReader").start(readKeys, main.get())) refuse(refused);
    static_cast<void>(main.release());  // the thread has it now
}

std::optional<int> KeyReader::next() {
    int key = 0;
    if (!send(m_thread, key) || !waitUnlessSignalled(m_thread.get())) return std::nullopt;
    return receive(m_thread, key) ? key : kEndOfInput;
}

}  // namespace vexo
