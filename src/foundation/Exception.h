// SPDX-License-Identifier: MIT
// The exception family: everything that ends a run with a text or a result code.
#ifndef VEXO_FOUNDATION_EXCEPTION_H
#define VEXO_FOUNDATION_EXCEPTION_H

#include <exception>
#include <utility>

#include "foundation/ResultCode.h"
#include "foundation/String.h"

namespace vexo {

// Base of the family. The message is fit for the user, or empty; then the code tells what happened.
class Exception : public std::exception {
public:
    explicit Exception(String message = {}, ResultCode code = kSuccess) : m_message(std::move(message)), m_code(code) {}

    const String& message() const { return m_message; }
    ResultCode code() const { return m_code; }
    const char* what() const noexcept override { return "vexo::Exception"; }

private:
    String m_message;
    ResultCode m_code;
};

// A file, stream or descriptor could not be used. The message names it and the reason.
class IOException : public Exception {
public:
    using Exception::Exception;
};

// An operation of the system failed with a result code, often without a text.
class ResultException : public Exception {
public:
    explicit ResultException(ResultCode code, String message = {}) : Exception(std::move(message), code) {}
};

}  // namespace vexo

#endif
