// SPDX-License-Identifier: MIT
// The keyboard thread of the timer mode. It shares the stop flag and what it was handed, and nobody waits for it.
#include <chrono>
#include <thread>

#include "foundation/Exception.h"
#include "foundation/NamedThread.h"
#include "foundation/StandardInput.h"
#include "monitor/Keys.h"
#include "monitor/MonitorProcessor.h"

namespace vexo {
namespace {

using Arguments = MonitorProcessor::UserInputThreadArgs;

constexpr auto kSettle = std::chrono::milliseconds(100);

// Reads keys until the run is to end; gives the line that tells why.
const String& readUntilStop(const Arguments& arguments) {
    int reads = 0;
    int badReads = 0;
    for (;;) {
        const int key = readStandardInput();
        if (isKey(key, 'Q')) return arguments.exitText;
        badReads = isBadRead(key) ? badReads + 1 : 0;
        if (badReads > kMaxBadReads) return arguments.errorText;
        ++reads;
        if (arguments.characterLimit > 0 && reads >= arguments.characterLimit) return arguments.exitText;
    }
}

}  // namespace

Ref<MonitorProcessor::UserInputThreadArgs> MonitorProcessor::startUserInputThread(const Ref<TextWriter>& writer) {
    auto arguments = makeRef<UserInputThreadArgs>();
    arguments->exitText = m_messages->getResStr("MSG_EXIT");
    arguments->errorText = m_messages->getResStr("ERR_INTERACTIVE_INPUT");
    arguments->writer = writer;
    arguments->characterLimit = m_configuration->refreshLimit;

    const NamedThread thread(L"VexoUserInputThread");
    arguments->addReference();  // the thread's own
    if (const ResultCode refused = thread.start(readUserInput, arguments.get())) {
        arguments->release();
        throw ResultException(refused, m_messages->getResStr("THREAD_FATAL_ERROR", refused));
    }
    return arguments;
}

void MonitorProcessor::readUserInput(void* args) {
    const auto arguments = Ref<UserInputThreadArgs>::adopt(static_cast<UserInputThreadArgs*>(args));
    std::this_thread::sleep_for(kSettle);
    const String& lastLine = readUntilStop(*arguments);
    // The line goes out before the flag is set: behind it, the main thread may end the process at any time.
    try {
        arguments->writer->writeLine(lastLine);
    } catch (...) {
        arguments->failure = std::current_exception();
        arguments->failed = true;
    }
    s_stopped = true;
}

void MonitorProcessor::raiseInputFailure(const UserInputThreadArgs& input) {
    if (!input.failed || wasSignalled()) return;
    try {
        std::rethrow_exception(input.failure);
    } catch (const HangUpException&) {
        if (!hangUpIsSignalled()) throw;
    }
}

}  // namespace vexo
