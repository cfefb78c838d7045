// SPDX-License-Identifier: MIT
#include <csignal>
#include <future>

#include "Support.h"
#include "foundation/NamedThread.h"
#include "foundation/StandardInput.h"
#include "monitor/Keys.h"
#include "monitor/MonitorProcessor.h"

namespace {

long sleptMs(std::int64_t milliseconds) {
    const auto start = std::chrono::steady_clock::now();
    MonitorProcessor::incrementalSleep(milliseconds);
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
}

// In a process of its own, which ends with 0 when a signal of its child ends `wait` and sets the flag.
template <typename Wait>
void signalled(int signal, Wait wait) {
    installStopSignals();
    const pid_t waiting = ::getpid();
    if (::fork() == 0) ::_exit((::usleep(100'000), ::kill(waiting, signal)));
    ::_exit(wait() && s_stopped ? 0 : 1);
}

}  // namespace

TEST(Keys, AreLettersInEitherCaseAndBadBeyondAscii) {
    for (int key = kEndOfInput; key < 256; ++key) {
        EXPECT_EQ(isKey(key, 'Q'), key == 'q' || key == 'Q') << key;
        EXPECT_EQ(isKey(key, 'R'), key == 'r' || key == 'R') << key;
        EXPECT_EQ(isBadRead(key), key <= 0 || key >= 128) << key;
    }
}

TEST(IncrementalSleep, EndsWithinThreeSecondsOfAStop) {
    EXPECT_GE(sleptMs(50), 50);
    EXPECT_LT(sleptMs(-5000) + sleptMs(0), 1000);
    const auto stopper = std::async(std::launch::async, [] { ::usleep(100'000), s_stopped = true; });
    const long slept = sleptMs(20'000);
    EXPECT_TRUE(slept >= 100 && slept < 3500) << slept;
    EXPECT_LT(sleptMs(20'000), 1000);
}

TEST(StopSignalsDeathTest, SetTheFlagEndTheWaitsAndThenTheProcess) {
    const auto stopped = testing::ExitedWithCode(0);
    const Pipe silent;
    ::dup2(silent.in.get(), STDIN_FILENO);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EXIT(signalled(signal, [] { return sleptMs(20'000) < 10'000; }), stopped, "") << signal;
        EXPECT_EXIT(signalled(signal, [] { return !waitForInput(); }), stopped, "") << signal;
        EXPECT_EXIT((installStopSignals(), std::raise(signal), std::raise(signal)), testing::KilledBySignal(signal), "");
        EXPECT_EXIT((installStopSignals(), std::raise(signal), s_stopped ? std::raise(SIGTERM) + std::raise(SIGTERM) : 0),
                    testing::KilledBySignal(SIGTERM), "");
        EXPECT_EXIT((std::signal(signal, SIG_IGN), installStopSignals(), std::raise(signal), ::_exit(s_stopped)), stopped,
                    "") << signal;
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
