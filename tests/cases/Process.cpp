// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "Case.h"

namespace cases {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::seconds(60);

const std::map<std::string, int> kSignals{
    {"INT", SIGINT}, {"TERM", SIGTERM}, {"HUP", SIGHUP}, {"KILL", SIGKILL}, {"PIPE", SIGPIPE}};

struct Pipe {
    int read = -1;
    int write = -1;
};

Pipe makePipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return {ends[0], ends[1]};
}

int opened(const std::string& path, int flags) {
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC);
    if (descriptor < 0) throw std::runtime_error(path + ": " + std::strerror(errno));
    return descriptor;
}

// Both ends of the keyboard: what the program reads from, and what types. -1 is a closed one.
Pipe openInput(const Directive* input, const std::string& directory) {
    const std::string kind = input == nullptr ? "empty" : input->argument;
    if (kind == "closed") return {};
    if (kind == "pipe") return makePipe();
    if (kind == "file") {
        const std::string path = directory + "/input";
        std::ofstream(path) << decoded(input->block, directory);
        return {opened(path, O_RDONLY), -1};
    }
    if (kind == "empty") return {opened("/dev/null", O_RDONLY), -1};
    if (kind != "pty") throw std::runtime_error("no such input: " + kind);
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) throw std::runtime_error("no terminal");
    return {opened(::ptsname(master), O_RDWR | O_NOCTTY), master};
}

// What "redirect" asks for; `captured` where it does not name this stream.
int openOutput(const Run& run, const std::string& stream, int captured) {
    for (const Directive* redirect : run.all("redirect")) {
        const std::size_t blank = redirect->argument.find(' ');
        const std::string target = redirect->argument.substr(blank + 1);
        if (redirect->argument.substr(0, blank) != stream) continue;
        if (target == "closed") return -1;
        if (target != "gone") return opened(target, O_WRONLY);
        const Pipe pipe = makePipe();
        ::close(pipe.read);
        return pipe.write;
    }
    return captured;
}

void place(int from, int to) {
    if (from < 0) {
        ::close(to);
    } else {
        ::dup2(from, to);
    }
}

void applyLimits(const Run& run) {
    for (const auto& [name, signal] : kSignals)
        if (signal != SIGKILL) std::signal(signal, SIG_DFL);
    for (const Directive* ignored : run.all("ignore"))
        std::signal(kSignals.at(ignored->argument), SIG_IGN);
    for (const Directive* limit : run.all("limit")) {
        std::istringstream words(limit->argument);
        std::string resource;
        rlimit value{};
        words >> resource >> value.rlim_cur;
        value.rlim_max = value.rlim_cur;
        ::setrlimit(resource == "stack" ? RLIMIT_STACK : RLIMIT_FSIZE, &value);
        std::signal(SIGXFSZ, SIG_IGN);
    }
    // Permissions shall hold for the superuser too.
    constexpr unsigned long kOverride = 1;
    constexpr unsigned long kReadSearch = 2;
    if (run.last("mode") == nullptr) return;
    ::prctl(PR_CAPBSET_DROP, kOverride);
    ::prctl(PR_CAPBSET_DROP, kReadSearch);
}

std::vector<char*> pointers(const Lines& words) {
    std::vector<char*> list;
    for (const std::string& word : words)
        list.push_back(const_cast<char*>(word.c_str()));
    list.push_back(nullptr);
    return list;
}

// The user: waits for what the program says, types, sends signals, waits, leaves.
class User {
public:
    User(const Run& run, pid_t program, int keyboard, std::string directory)
        : m_program(program), m_keyboard(keyboard), m_directory(std::move(directory)) {
        const Directive* steps = run.last("steps");
        if (steps == nullptr) return;
        m_steps = steps->block;
        for (std::size_t at = 0; at < steps->argument.size();) {
            const std::size_t end = std::min(steps->argument.find("; ", at), steps->argument.size());
            m_steps.push_back(steps->argument.substr(at, end - at));
            at = end + 2;
        }
    }
    ~User() { leave(); }
    User(const User&) = delete;
    User& operator=(const User&) = delete;

    // Makes the steps that are due; false when nothing is left to do.
    bool act(const std::string& out) {
        while (m_next < m_steps.size() && Clock::now() >= m_pausedUntil) {
            const std::string& step = m_steps[m_next];
            const std::string verb = step.substr(0, step.find(' '));
            const std::string object = decoded(step.substr(std::min(step.size(), verb.size() + 1)), m_directory);
            if (verb == "await") {
                const std::size_t found = out.find(object, m_seen);
                if (found == std::string::npos) return true;
                m_seen = found + object.size();
            } else if (verb == "type") {
                static_cast<void>(!::write(m_keyboard, object.data(), object.size()));
            } else if (verb == "signal") {
                ::kill(m_program, kSignals.at(object));
            } else if (verb == "pause") {
                m_pausedUntil = Clock::now() + std::chrono::milliseconds(std::stoi(object));
            } else if (verb == "leave") {
                leave();
            } else {
                throw std::runtime_error("no such step: " + step);
            }
            ++m_next;
            m_lastStep = Clock::now();
        }
        return m_next < m_steps.size();
    }
    std::string undone() const { return m_next < m_steps.size() ? m_steps[m_next] : ""; }
    double secondsSinceLastStep() const { return std::chrono::duration<double>(Clock::now() - m_lastStep).count(); }

private:
    void leave() {
        if (m_keyboard >= 0) ::close(m_keyboard);
        m_keyboard = -1;
    }

    Lines m_steps;
    pid_t m_program;
    int m_keyboard;
    std::string m_directory;
    std::size_t m_next = 0;
    std::size_t m_seen = 0;
    Clock::time_point m_pausedUntil = Clock::now();
    Clock::time_point m_lastStep = Clock::now();
};

// False at the end of the stream.
bool readSome(int descriptor, std::string& text) {
    char buffer[4096];
    const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
    if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
}

// Keeps what the program says until it has ended; gives its status.
int listen(pid_t program, User& user, int out, int err, Outcome& outcome) {
    const auto deadline = Clock::now() + kPatience;
    pollfd streams[] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    for (;;) {
        const bool silent = streams[0].fd < 0 && streams[1].fd < 0;
        int status = 0;
        if (silent && ::waitpid(program, &status, WNOHANG) == program) return status;
        const bool busy = user.act(outcome.out);
        if (Clock::now() > deadline) ::kill(program, SIGKILL);
        ::poll(streams, 2, silent ? 1 : busy ? 20 : 1000);
        if (streams[0].revents != 0 && !readSome(out, outcome.out)) streams[0].fd = -1;
        if (streams[1].revents != 0 && !readSome(err, outcome.err)) streams[1].fd = -1;
    }
}

}  // namespace

Outcome execute(const Run& run, const Lines& command, const Lines& environment, const std::string& directory) {
    const Pipe out = makePipe();
    const Pipe err = makePipe();
    const Directive* kind = run.last("input");
    const Pipe input = openInput(kind, directory);
    const int outTarget = openOutput(run, "stdout", out.write);
    const int errTarget = openOutput(run, "stderr", err.write);
    const pid_t program = ::fork();
    if (program == 0) {
        if (kind != nullptr && kind->argument == "pty") {
            ::setsid();
            ::close(::open(::ptsname(input.write), O_RDWR));  // now the controlling terminal
        }
        place(input.read, STDIN_FILENO);
        place(outTarget, STDOUT_FILENO);
        place(errTarget, STDERR_FILENO);
        applyLimits(run);
        if (::chdir(directory.c_str()) == 0)
            ::execvpe(command[0].c_str(), pointers(command).data(), pointers(environment).data());
        ::_exit(127);
    }
    for (const int descriptor : {input.read, outTarget, errTarget})
        if (descriptor >= 0) ::close(descriptor);
    if (outTarget != out.write) ::close(out.write);
    if (errTarget != err.write) ::close(err.write);

    Outcome outcome;
    User user(run, program, input.write, directory);
    const int status = listen(program, user, out.read, err.read, outcome);
    outcome.secondsToEnd = user.secondsSinceLastStep();
    outcome.undoneStep = user.undone();
    outcome.status =
        WIFEXITED(status) ? std::to_string(WEXITSTATUS(status)) : std::string("SIG") + ::sigabbrev_np(WTERMSIG(status));
    ::close(out.read);
    ::close(err.read);
    return outcome;
}

}  // namespace cases
