// SPDX-License-Identifier: MIT
// A setting is missing or has no value.
#ifndef VEXO_CONFIG_CONFIGEXCEPTION_H
#define VEXO_CONFIG_CONFIGEXCEPTION_H

#include "foundation/Exception.h"

namespace vexo {

class ConfigException : public Exception {
public:
    explicit ConfigException(String message = {}) : Exception(std::move(message)) {}
};

}  // namespace vexo

#endif
