// SPDX-License-Identifier: MIT
// Finds what in a settings file will surprise whoever wrote it.
#ifndef VEXO_MAIN_AGENT_SETTINGSCHECK_H
#define VEXO_MAIN_AGENT_SETTINGSCHECK_H

#include <vector>

#include "foundation/String.h"

namespace vexo {

struct Finding {
    int line = 0;  // 0 for the file as a whole
    bool changesMeaning = false;
    String text;
};

// In the order of the lines. Throws an Exception with a message for a file that cannot be read. Never tells a password.
std::vector<Finding> checkSettings(const String& path);

}  // namespace vexo

#endif
