// SPDX-License-Identifier: MIT
// Allocation that fails on demand: VEXO_FAIL_ALLOCATION=N fails the Nth one, VEXO_FAIL_ALLOCATIONS_FROM=N that one and
// all behind it. VEXO_FAILED names a file that is then created.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

unsigned long limitFrom(const char* variable) {
    const char* text = std::getenv(variable);
    return text ? std::strtoul(text, nullptr, 10) : 0;
}

}  // namespace

// NOLINTNEXTLINE(misc-definitions-in-headers): the replacement that the language provides for
void* operator new(std::size_t size) {
    static const unsigned long s_once = limitFrom("VEXO_FAIL_ALLOCATION");
    static const unsigned long s_from = limitFrom("VEXO_FAIL_ALLOCATIONS_FROM");
    static std::atomic<unsigned long> s_count{0};
    const unsigned long count = ++s_count;
    const bool fails = count == s_once || (s_from != 0 && count >= s_from);
    void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory) return memory;
    if (const char* failed = std::getenv("VEXO_FAILED")) ::close(::open(failed, O_CREAT | O_WRONLY | O_CLOEXEC, 0666));
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
