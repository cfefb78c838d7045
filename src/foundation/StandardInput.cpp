// SPDX-License-Identifier: MIT
#include "foundation/StandardInput.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace vexo {

int readStandardInput() {
    for (;;) {
        unsigned char byte = 0;
        const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
        if (count == 1) return byte;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EAGAIN) {
            // Somebody who shares the terminal set it not to block.
            pollfd input{STDIN_FILENO, POLLIN, 0};
            static_cast<void>(::poll(&input, 1, -1));
            continue;
        }
        return kEndOfInput;
    }
}

}  // namespace vexo
