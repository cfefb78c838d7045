// SPDX-License-Identifier: MIT
#include "sampling/WakeUp.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "foundation/Exception.h"

namespace vexo {

WakeUp::WakeUp() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_event.get() < 0) throw ResultException(resultCodeOf(errno));
}

void WakeUp::wake() const {
    constexpr std::uint64_t kOne = 1;
    static_cast<void>(!::write(m_event.get(), &kOne, sizeof kOne));
}

bool WakeUp::wait(std::int64_t microseconds) const {
    constexpr std::int64_t kMicrosPerMilli = 1000;
    const std::int64_t milliseconds = std::clamp<std::int64_t>((microseconds + kMicrosPerMilli - 1) / kMicrosPerMilli,
                                                               0, std::numeric_limits<int>::max());
    pollfd event{m_event.get(), POLLIN, 0};
    if (::poll(&event, 1, static_cast<int>(milliseconds)) <= 0) return false;
    clear();
    return true;
}

void WakeUp::clear() const {
    std::uint64_t count = 0;
    static_cast<void>(!::read(m_event.get(), &count, sizeof count));
}

}  // namespace vexo
