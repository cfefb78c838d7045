// SPDX-License-Identifier: MIT
#include "foundation/Process.h"

#include <pthread.h>
#include <unistd.h>

#include <csignal>

#include "foundation/Encoding.h"
#include "foundation/FileDescriptor.h"
#include "foundation/Locale.h"

namespace vexo {

void prepareProcess() {
    for (const int signal : {SIGPIPE, SIGXFSZ})
        std::signal(signal, SIG_IGN);
    reserveStandardDescriptors();
    useEnvironmentEncoding();
    keepLocale();
}

bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void endBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    std::raise(signal);
    // The system spares the first process of a container. This is the status that a shell would give.
    constexpr int kEndedBySignal = 128;
    ::_exit(kEndedBySignal + signal);
}

}  // namespace vexo
