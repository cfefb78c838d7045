// SPDX-License-Identifier: MIT
#include "foundation/NamedThread.h"

#include <pthread.h>

#include <csignal>
#include <memory>
#include <string>
#include <utility>

#include "foundation/Encoding.h"

namespace vexo {
namespace {

constexpr std::size_t kSystemNameBytes = 15;

struct Start {
    NamedThread::Function function;
    void* arguments;
};

void* run(void* start) {
    const std::unique_ptr<Start> own(static_cast<Start*>(start));
    own->function(own->arguments);
    return nullptr;
}

}  // namespace

NamedThread::NamedThread(String name) : m_name(std::move(name)) {
}

ResultCode NamedThread::start(Function function, void* arguments) const {
    const std::string systemName = narrowUpTo(m_name, kSystemNameBytes);
    auto start = std::make_unique<Start>(Start{function, arguments});

    // The thread inherits the mask of its creator.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    const int error = pthread_create(&thread, nullptr, run, start.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0) return resultCodeOf(error);

    static_cast<void>(start.release());  // the thread has it now
    pthread_setname_np(thread, systemName.c_str());
    pthread_detach(thread);
    return kSuccess;
}

}  // namespace vexo
