// SPDX-License-Identifier: MIT
// A background thread with a name.
#ifndef VEXO_FOUNDATION_NAMEDTHREAD_H
#define VEXO_FOUNDATION_NAMEDTHREAD_H

#include <cstddef>

#include "foundation/Ref.h"
#include "foundation/ResultCode.h"
#include "foundation/String.h"

namespace vexo {

// A thread that nobody waits for: it runs until its function returns or the process ends. It takes over the signal mask
// and the locale of the thread that starts it.
class NamedThread {
public:
    using Function = void (*)(void* arguments);

    // The system shows no more than 15 bytes of a name; name() has all of it.
    explicit NamedThread(String name);

    const String& name() const { return m_name; }

    // Starts `function` on `arguments`, which have to live until it returns, with a stack of `stackBytes`, 0 for the
    // system's usual size. kSuccess, or why the system refused.
    ResultCode start(Function function, void* arguments, std::size_t stackBytes = 0) const;

private:
    String m_name;
};

}  // namespace vexo

#endif
