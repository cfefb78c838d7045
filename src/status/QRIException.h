// SPDX-License-Identifier: MIT
// The engine refused a call, or a value is larger than the engine can hold.
#ifndef VEXO_ENGINE_ERROR_QRIEXCEPTION_H
#define VEXO_ENGINE_ERROR_QRIEXCEPTION_H

#include <utility>

#include "foundation/Exception.h"

namespace vexo {

class QRIException : public Exception {
public:
    // `message` is the one that createErrorMsg() builds for the status: its decimal code, ": " and its text.
    QRIException(String message, int errorCode) : Exception(std::move(message)), m_errorCode(errorCode) {}

    // The status of the administration interface.
    int getErrorCode() const { return m_errorCode; }

private:
    int m_errorCode;
};

}  // namespace vexo

#endif
