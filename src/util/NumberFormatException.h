// SPDX-License-Identifier: MIT
// A text that should be a number is not one.
#ifndef VEXO_UTIL_NUMBERFORMATEXCEPTION_H
#define VEXO_UTIL_NUMBERFORMATEXCEPTION_H

#include "foundation/Exception.h"

namespace vexo {

class NumberFormatException : public Exception {
public:
    using Exception::Exception;
};

}  // namespace vexo

#endif
