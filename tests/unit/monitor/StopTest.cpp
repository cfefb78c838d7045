// SPDX-License-Identifier: MIT
#include <sys/stat.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <future>

#include "Support.h"
#include "foundation/LineReader.h"
#include "foundation/Locale.h"
#include "foundation/NamedThread.h"
#include "foundation/StandardInput.h"
#include "monitor/MonitorProcessor.h"

using namespace vexo;
using namespace std::chrono;

namespace {

std::int64_t sleptMs(std::int64_t milliseconds) {
    const auto start = steady_clock::now();
    MonitorProcessor::incrementalSleep(milliseconds);
    return duration_cast<std::chrono::milliseconds>(steady_clock::now() - start).count();
}

// The flag is looked at every three seconds. The bounds leave a busy machine its time.
TEST(IncrementalSleep, EndsSoonAfterAStop) {
    EXPECT_GE(sleptMs(50), 50);
    EXPECT_LT(sleptMs(-1000) + sleptMs(0), 2000);
    const auto stopper = std::async(std::launch::async, [] { ::usleep(100'000), s_stopped = true; });
    const std::int64_t slept = sleptMs(60'000);
    EXPECT_TRUE(slept >= 100 && slept < 30'000) << slept;
    EXPECT_LT(sleptMs(20'000), 2500);
    s_stopped = false;
}

bool signalledSoon() {
    for (int attempt = 0; attempt < 10'000 && !wasSignalled(); ++attempt)
        ::usleep(1000);
    return wasSignalled();
}

// Ends with 0 when `wait` is cut short by the signal that comes meanwhile, else with 1.
template <typename Wait>
void signalled(int signal, Wait wait) {
    holdStopSignals();
    const pid_t waiting = ::getpid();
    if (::fork() == 0) ::usleep(100'000), ::kill(waiting, signal), ::_exit(0);
    ::_exit(wait() && wasSignalled() && !s_stopped ? 0 : 1);
}

TEST(StopSignalsDeathTest, EndTheWaitsAndThenTheProcess) {
    const auto inOrder = testing::ExitedWithCode(0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, SIG_DFL);  // whatever ran the tests, nohup for instance
        EXPECT_EXIT(signalled(signal, [] { return sleptMs(60'000) < 2500; }), inOrder, "");
        EXPECT_EXIT(signalled(signal,
                              [] {
                                  const Pipe pipe;
                                  return !waitUnlessSignalled(pipe.in.get());
                              }),
                    inOrder, "");
        // The call that is running goes on.
        EXPECT_EXIT(signalled(signal, [] { return ::usleep(500'000) == 0; }), inOrder, "");
        // Whether something else stopped the run before does not matter.
        EXPECT_EXIT((s_stopped = true, holdStopSignals(), ::kill(::getpid(), signal), ::_exit(signalledSoon() ? 0 : 1)),
                    inOrder, "");
        // Ignored from the start.
        EXPECT_EXIT((std::signal(signal, SIG_IGN), holdStopSignals(), ::kill(::getpid(), signal), sleptMs(100),
                     ::_exit(wasSignalled() ? 1 : 0)),
                    inOrder, "");
        EXPECT_EXIT((holdStopSignals(), ::kill(::getpid(), signal), signalledSoon(), ::usleep(100'000),
                     ::kill(::getpid(), SIGTERM), ::usleep(60'000'000)),
                    testing::KilledBySignal(SIGTERM), "");
    }
}

void interrupt(pthread_t thread, int times) {
    for (int i = 0; i < times; ++i)
        ::usleep(20'000), pthread_kill(thread, SIGUSR1);
}

TEST(ReadsAndWrites, GoOnWhenInterruptedAndWhereTheStreamDoesNotBlock) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &action, nullptr);
    const FileDescriptor keyboard(::dup(STDIN_FILENO));
    for (const bool blocks : {true, false}) {
        const Pipe pipe;
        if (blocks) ::fcntl(pipe.in.get(), F_SETFL, 0), ::fcntl(pipe.out.get(), F_SETFL, 0);
        ::dup2(pipe.in.get(), STDIN_FILENO);
        auto key = std::async(std::launch::async, [reader = pthread_self(), &pipe] {
            interrupt(reader, 3);
            return ::write(pipe.out.get(), "k", 1);
        });
        EXPECT_EQ(readStandardInput(), 'k');
        key.get();

        auto drained = std::async(std::launch::async, [writer = pthread_self(), &pipe] {
            interrupt(writer, 3);
            std::string all;
            for (char some[4096]; all.empty() || all.back() != '\n'; ::usleep(100))
                all.append(some, std::size_t(std::max(ssize_t{0}, ::read(pipe.in.get(), some, sizeof some))));
            return all;
        });
        const String line(200'000, L'x');
        makeRef<TextWriter>(pipe.out.get(), L"", TextWriter::Flushing::kAfterEveryLine)->writeLine(line);
        EXPECT_TRUE(drained.get() == narrow(line) + "\n");
    }
    ::dup2(keyboard.get(), STDIN_FILENO);
    // A settings file may be a pipe too; opening it waits for a writer.
    ::mkfifo("fifo", 0600);
    const auto written = std::async(std::launch::async, [reader = pthread_self()] {
        interrupt(reader, 3);
        const FileDescriptor out(::open("fifo", O_WRONLY));
        interrupt(reader, 3);
        return ::write(out.get(), "line\n", 5);
    });
    String line;
    EXPECT_TRUE(LineReader(openForReading(L"fifo"), L"fifo", 100).readLine(line));
    EXPECT_EQ(line, L"line");
}

TEST(NamedThread, ShowsTheStartOfItsNameAndTakesOverTheLocale) {
    struct Seen {
        std::promise<void> named;
        std::promise<std::string> name;
    } seen;
    const auto look = [](void* arguments) {
        auto& own = *static_cast<Seen*>(arguments);
        own.named.get_future().wait();
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        own.name.set_value(name + std::to_string(MB_CUR_MAX));
    };
    keepLocale();
    std::setlocale(LC_ALL, "C");
    ASSERT_EQ(NamedThread(L"12345678901234\u00E4").start(look, &seen), kSuccess);
    seen.named.set_value();
    EXPECT_EQ(seen.name.get_future().get(), "123456789012346");
    EXPECT_EQ(MB_CUR_MAX, 6U);
    const ProcessLocale process;
    EXPECT_EQ(MB_CUR_MAX, 1U);
}

}  // namespace
