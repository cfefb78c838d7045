// SPDX-License-Identifier: MIT
#include "Log.h"

#include <unistd.h>

#include <array>
#include <ctime>
#include <fstream>
#include <iostream>
#include <utility>

#include "Texts.h"

namespace xr {

namespace {

// The lines on standard error so far, of all connections: a recorder connects again and again while a server is away. Never
// destroyed, since the process may end during a call.
std::set<std::string>& noticed() {
    static auto* const s_noticed = new std::set<std::string>;
    return *s_noticed;
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
    if (m_path.empty() || !m_told.insert(text).second) return;
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    std::array<char, 32> clock{};
    if (!localtime_r(&now, &local)) return;
    if (std::strftime(clock.data(), clock.size(), "%Y-%m-%dT%H:%M:%S%z", &local) == 0) return;
    // Parts of the text come from the server.
    std::ofstream(m_path, std::ios::app) << clock.data() << ' ' << m_library << '[' << getpid() << "] "
                                         << cleanLine(text) << '\n';
}

}  // namespace xr
