// SPDX-License-Identifier: MIT
#include "Trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace xrsim {
namespace {

// Quoted, every byte that is not printable ASCII as \xHH, so that a line of the trace stays one line.
void appendQuoted(std::string& out, std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    out += '"';
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte >= 0x20 && byte < 0x7f) {
            out += c;
        } else {
            out += "\\x";
            out += kDigits[byte >> 4];
            out += kDigits[byte & 0xf];
        }
    }
    out += '"';
}

}  // namespace

void Line::begin(std::string_view name) {
    m_text += m_separator;
    m_text += name;
    m_text += '=';
    m_separator = m_separator == " " ? " " : ", ";
}

Line& Line::text(std::string_view name, std::string_view value) {
    begin(name);
    appendQuoted(m_text, value);
    return *this;
}

Line& Line::null(std::string_view name) {
    begin(name);
    m_text += "NULL";
    return *this;
}

Line& Line::secret(std::string_view name, std::string_view value) {
    return text(name, value.empty() ? "" : "***");
}

void Line::close(std::int64_t status) {
    m_text += ") = ";
    m_text += std::to_string(status);
    m_separator = " ";
}

Trace::~Trace() {
    if (isOpen()) ::close(m_file);
}

void Trace::open() {
    const char* named = std::getenv("XRSIM_TRACE");
    const std::string path = named ? named : "";
    if (path == m_path) return;
    if (isOpen()) ::close(m_file);
    m_path = path;
    m_file = path.empty() ? -1 : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
    if (!path.empty() && !isOpen()) std::fprintf(stderr, "XRSIM_TRACE: %s: %s\n", path.c_str(), std::strerror(errno));
}

void Trace::write(std::string_view line) const {
    // A trace on a full disk is incomplete; the engine goes on.
    while (!line.empty()) {
        const ssize_t written = ::write(m_file, line.data(), line.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        line.remove_prefix(static_cast<std::size_t>(written));
    }
}

void Trace::misuse(Function function, std::string_view reason) const {
    if (!isOpen()) return;
    std::string line = "MISUSE ";
    line += nameOf(function);
    line += ": ";
    line += reason;
    line += '\n';
    write(line);
}

}  // namespace xrsim
