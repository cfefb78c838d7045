// SPDX-License-Identifier: MIT
// The least that output flushed after every line can cost: writes a file to standard output, one write(2) a line.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    struct stat status {};
    const int file = argc == 2 ? ::open(argv[1], O_RDONLY) : -1;
    if (file < 0 || ::fstat(file, &status) != 0) {
        std::fputs("usage: line_floor FILE\n", stderr);
        return 1;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const mapped = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
    if (mapped == MAP_FAILED) return 1;
    const char* line = static_cast<const char*>(mapped);
    const char* const end = line + size;
    while (line != end) {
        const void* const feed = std::memchr(line, '\n', static_cast<std::size_t>(end - line));
        const char* const next = feed ? static_cast<const char*>(feed) + 1 : end;
        if (::write(STDOUT_FILENO, line, static_cast<std::size_t>(next - line)) != next - line) {
            std::perror("line_floor");
            return 1;
        }
        line = next;
    }
    return 0;
}
