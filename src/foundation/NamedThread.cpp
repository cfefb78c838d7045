// SPDX-License-Identifier: MIT
#include "foundation/NamedThread.h"

#include <pthread.h>

#include <clocale>
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
    locale_t locale;
};

void* run(void* start) {
    const std::unique_ptr<Start> own(static_cast<Start*>(start));
    ::uselocale(own->locale);
    own->function(own->arguments);
    return nullptr;
}

}  // namespace

NamedThread::NamedThread(String name) : m_name(std::move(name)) {
}

ResultCode NamedThread::start(Function function, void* arguments, std::size_t stackBytes) const {
    const std::string systemName = narrowUpTo(m_name, kSystemNameBytes);
    auto start = std::make_unique<Start>(Start{function, arguments, ::uselocale(nullptr)});

    pthread_attr_t attributes;
    if (const int error = pthread_attr_init(&attributes)) return resultCodeOf(error);
    if (stackBytes != 0) pthread_attr_setstacksize(&attributes, stackBytes);
    pthread_t thread{};
    const int error = pthread_create(&thread, &attributes, run, start.get());
    pthread_attr_destroy(&attributes);
    if (error != 0) return resultCodeOf(error);

    static_cast<void>(start.release());  // the thread has it now
    pthread_setname_np(thread, systemName.c_str());
    pthread_detach(thread);
    return kSuccess;
}

}  // namespace vexo
