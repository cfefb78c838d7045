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

// Reading or writing an open file or stream failed. Brings no message: whoever reports it makes the sentence, in the
// user's language, from the name and the system's error number (errno).
class StreamException : public IOException {
public:
    StreamException(String name, int errorNumber)
        : IOException({}, resultCodeOf(errorNumber)), m_name(std::move(name)), m_errorNumber(errorNumber) {}

    const String& name() const { return m_name; }
    int errorNumber() const { return m_errorNumber; }

private:
    String m_name;
    int m_errorNumber;
};

// The terminal that was to be written to has gone.
class HangUpException : public StreamException {
public:
    using StreamException::StreamException;
};

// An operation of the system failed with a result code, often without a text.
class ResultException : public Exception {
public:
    explicit ResultException(ResultCode code, String message = {}) : Exception(std::move(message), code) {}
};

}  // namespace vexo

#endif
