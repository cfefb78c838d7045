// SPDX-License-Identifier: MIT
// Reads a scenario. The format is described in docs/BACKENDS.md.
#ifndef XRSIM_SCENARIOREADER_H
#define XRSIM_SCENARIOREADER_H

#include <string>
#include <string_view>

#include "Scenario.h"

namespace xrsim {

// `file` names the text in mistakes. Throws std::runtime_error with `file:line:column: reason`.
Scenario readScenario(std::string_view text, const std::string& file);

// Throws std::runtime_error as above, or when the file cannot be read.
Scenario readScenarioFile(const std::string& path);

// The engine that is simulated when no scenario is named.
std::string_view demoScenario();

}  // namespace xrsim

#endif
