// SPDX-License-Identifier: MIT
#include "Log.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <iostream>
#include <utility>

#include "PipeSignal.h"
#include "Texts.h"

namespace xr {

namespace {

// The lines on standard error so far, of all connections: a recorder connects again and again while a server is away. Never
// destroyed, since the process may end during a call.
std::set<std::string>& noticed() {
    static auto* const s_noticed = new std::set<std::string>;
    return *s_noticed;
}

// Whether a line could be written, at once and whole: a pipe that nobody reads must not hold up the monitor.
bool append(const std::string& path, const std::string& line) {
    const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666);
    if (file < 0) return false;
    const PipeSignalGuard guard;
    const bool whole = ::write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    return ::close(file) == 0 && whole;
}

}  // namespace

Log::Log(std::string library, std::string path, bool notices)
    : m_library(std::move(library)), m_path(std::move(path)), m_notices(notices) {
}

void Log::notice(const std::string& text) {
    if (m_notices && noticed().insert(text).second) std::cerr << "lib" + m_library + ": " + cleanLine(text) + '\n';
    tell(text);
}

void Log::tell(const std::string& text) {
    if (m_path.empty() || m_told.count(text) != 0) return;
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    std::array<char, 32> clock{};
    if (!localtime_r(&now, &local)) return;
    if (std::strftime(clock.data(), clock.size(), "%Y-%m-%dT%H:%M:%S%z", &local) == 0) return;
    // Parts of the text come from the server.
    const std::string line =
        std::string(clock.data()) + ' ' + m_library + '[' + std::to_string(getpid()) + "] " + cleanLine(text) + '\n';
    if (append(m_path, line)) m_told.insert(text);
}

}  // namespace xr
