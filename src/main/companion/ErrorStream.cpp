// SPDX-License-Identifier: MIT
#include "main/companion/ErrorStream.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace vexo {

void tell(std::string_view text) {
    constexpr std::size_t kNeverBlocks = 4096;  // a pipe that can be written to takes this much
    std::array<char, kNeverBlocks> line;        // and no string: this also tells that there is no memory
    std::size_t size = 0;
    for (const std::string_view part :
         {std::string_view(::program_invocation_short_name), std::string_view(": "), text})
        size += part.copy(line.data() + size, line.size() - 1 - size);
    line[size++] = '\n';
    pollfd stream{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&stream, 1, 0) <= 0 || (stream.revents & POLLOUT) == 0) return;
    static_cast<void>(!::write(STDERR_FILENO, line.data(), size));
}

}  // namespace vexo
