// SPDX-License-Identifier: MIT
// Wakes a waiting thread.
#ifndef VEXO_SAMPLING_WAKEUP_H
#define VEXO_SAMPLING_WAKEUP_H

#include <cstdint>

#include "foundation/FileDescriptor.h"

namespace vexo {

// For one thread that waits and any number that wake it.
class WakeUp {
public:
    // Throws ResultException when the system has no descriptor left.
    WakeUp();

    // Ends the wait, or the next one.
    void wake() const;
    // Waits for wake() or `microseconds`, rounded up to a millisecond. Whether it was woken.
    bool wait(std::int64_t microseconds) const;
    // Readable from wake() until clear().
    int descriptor() const { return m_event.get(); }
    void clear() const;

private:
    FileDescriptor m_event;
};

}  // namespace vexo

#endif
