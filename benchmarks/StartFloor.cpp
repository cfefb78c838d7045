// SPDX-License-Identifier: MIT
// The least that a C++ program which reads a file can cost from start to exit.
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    std::ifstream file(argc > 1 ? argv[1] : "/dev/null");
    std::string line;
    std::size_t bytes = 0;
    while (std::getline(file, line))
        bytes += line.size();
    return file.bad() || (argc > 1 && bytes == 0) ? 1 : 0;
}
