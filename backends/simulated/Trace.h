// SPDX-License-Identifier: MIT
// The record of every call, for developers of monitors. The format is described in docs/BACKENDS.md.
#ifndef XRSIM_TRACE_H
#define XRSIM_TRACE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "Functions.h"

namespace xrsim {

// Builds `first=1, name="text"`, with the separator that its place in the line asks for.
class Line {
public:
    explicit Line(std::string start) : m_text(std::move(start)) {}

    template <typename Number>
    Line& number(std::string_view name, Number value) {
        static_assert(std::is_integral_v<Number>);
        begin(name);
        m_text += std::to_string(value);
        return *this;
    }
    Line& text(std::string_view name, std::string_view value);
    Line& null(std::string_view name);
    // Tells only whether there is a password.
    Line& secret(std::string_view name, std::string_view value);

    // Ends the arguments; results follow.
    void close(std::int64_t status);

    const std::string& str() const { return m_text; }

private:
    void begin(std::string_view name);

    std::string m_text;
    std::string_view m_separator;
};

class Trace {
public:
    Trace() = default;
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;
    ~Trace();

    // Writes to the file that XRSIM_TRACE names now. The process empties a file when it first opens it.
    void open();
    bool isOpen() const { return m_file >= 0; }

    // Writes the whole line at once, so that nothing is lost when the process crashes.
    void write(std::string_view line) const;
    void misuse(Function function, std::string_view reason) const;

private:
    int m_file = -1;
    std::string m_path;
};

}  // namespace xrsim

#endif
