// SPDX-License-Identifier: MIT
#include "main/companion/ErrorStream.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace vexo {

void tell(std::string_view text) {
    constexpr std::size_t kNeverBlocks = 4096;  // a pipe that can be written to takes this much
    std::string line = std::string(::program_invocation_short_name) + ": " + std::string(text);
    line.resize(std::min(line.size(), kNeverBlocks - 1));
    line += '\n';
    pollfd stream{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&stream, 1, 0) <= 0 || (stream.revents & POLLOUT) == 0) return;
    static_cast<void>(!::write(STDERR_FILENO, line.data(), line.size()));
}

}  // namespace vexo
