// SPDX-License-Identifier: MIT
// Connects to a server and, once a line arrives on standard input, writes the statuses of three calls: what a program
// gets that neither ignores SIGPIPE nor stops at the first error, as the monitor does.
// Usage: lost_server server user password
#include <csignal>
#include <cstdint>
#include <iostream>
#include <string>

#include "xradmin.h"

int main(int count, char** arguments) {
    std::int32_t handle = 0;
    if (count != 4 || XrStart(nullptr) != XR_OK) return 2;
    if (XrConnectServer(arguments[1], arguments[2], arguments[3], &handle) != XR_OK) return 2;
    std::signal(SIGPIPE, SIG_DFL);
    std::string line;
    std::getline(std::cin, line);
    std::uint32_t items = 0;
    XRKESDUSAGE usage{};
    std::cout << XrGetSQLConnectionsData(handle, &items) << ' ';
    std::cout << XrGetKesdUsageEx2(handle, &usage) << ' ' << XrGetOpenFilesData(handle, &items) << '\n';
    XrFreeOpenFilesData(handle);
    XrDisconnect(handle);
    XrStop(nullptr);
}
