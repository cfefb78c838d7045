// SPDX-License-Identifier: MIT
#include <csignal>
#include <future>

#include "Support.h"
#include "foundation/NamedThread.h"
#include "foundation/StandardInput.h"
#include "monitor/Keys.h"
#include "monitor/MonitorProcessor.h"

using namespace vexo;
using namespace std::chrono;

namespace {

TEST(Keys, AreLettersInEitherCaseAndBadBeyondAscii) {
    for (int key = kEndOfInput; key < 256; ++key) {
        EXPECT_EQ(isKey(key, 'Q'), key == 'q' || key == 'Q') << key;
        EXPECT_EQ(isKey(key, 'R'), key == 'r' || key == 'R') << key;
        EXPECT_EQ(isBadRead(key), key <= 0 || key >= 128) << key;
    }
}

std::int64_t sleptMs(std::int64_t milliseconds) {
    const auto start = steady_clock::now();
    MonitorProcessor::incrementalSleep(milliseconds);
    return duration_cast<std::chrono::milliseconds>(steady_clock::now() - start).count();
}

TEST(IncrementalSleep, EndsWithinThreeSecondsOfAStop) {
    EXPECT_GE(sleptMs(50), 50);
    EXPECT_LT(sleptMs(-1000) + sleptMs(0), 1000);
    const auto stopper = std::async(std::launch::async, [] { ::usleep(100'000), s_stopped = true; });
    const std::int64_t slept = sleptMs(20'000);
    EXPECT_TRUE(slept >= 100 && slept < 3500) << slept;
    EXPECT_LT(sleptMs(20'000), 1000);
    s_stopped = false;
}

// Ends with 0 when the flag is set, else with 1.
void sleepAfter(int raised) {
    installStopSignals();
    if (raised != 0) std::raise(raised);
    ::_exit(s_stopped ? 0 : 1);
}

TEST(StopSignalsDeathTest, SetTheFlagOnceAndEndTheWaits) {
    const auto stopped = testing::ExitedWithCode(0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EXIT((std::signal(signal, SIG_DFL), sleepAfter(signal)), stopped, "") << signal;
        EXPECT_EXIT((std::signal(signal, SIG_IGN), sleepAfter(signal)), testing::ExitedWithCode(1), "") << signal;
        EXPECT_EXIT((installStopSignals(), std::raise(signal), std::raise(SIGTERM), std::raise(SIGTERM)),
                    testing::KilledBySignal(SIGTERM), "");
        const auto signalled = [](int number, auto wait) {
            installStopSignals();
            const pid_t waiting = ::getpid();
            if (::fork() == 0) ::usleep(100'000), ::kill(waiting, number), ::_exit(0);
            ::_exit(wait() ? 0 : 1);
        };
        EXPECT_EXIT(signalled(signal, [] { return sleptMs(20'000) < 10'000; }), stopped, "");
        EXPECT_EXIT(signalled(signal,
                              [] {
                                  const Pipe pipe;
                                  ::dup2(pipe.in.get(), STDIN_FILENO);
                                  return !waitForInput();
                              }),
                    stopped, "");
    }
}

TEST(NamedThread, ShowsTheStartOfItsNameAndLeavesSignalsToOthers) {
    struct Seen {
        std::promise<void> named;
        std::promise<std::string> name;
    } seen;
    const auto look = [](void* arguments) {
        auto& own = *static_cast<Seen*>(arguments);
        own.named.get_future().wait();
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        own.name.set_value(name + std::to_string(sigismember(&blocked, SIGTERM)));
    };
    ASSERT_EQ(NamedThread(L"12345678901234\u00E4").start(look, &seen), kSuccess);
    seen.named.set_value();
    EXPECT_EQ(seen.name.get_future().get(), "123456789012341");
}

}  // namespace
