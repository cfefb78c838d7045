// SPDX-License-Identifier: MIT
// The command line of vexo-top.
#ifndef VEXO_MAIN_TOP_TOPOPTIONS_H
#define VEXO_MAIN_TOP_TOPOPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

#include "main/companion/Options.h"
#include "view/Viewer.h"

namespace vexo {

// Texts are bytes, as they were given.
struct TopOptions {
    std::optional<std::string> settings;  // path of the settings file
    std::optional<std::string> history;   // to replay
    std::optional<std::string> at;        // the time at which to begin in it
    bool follow = false;
    ViewName view = ViewName::kFiles;
    std::optional<std::int64_t> intervalMs;
    bool withColours = true;  // the environment may have asked for none
    bool batch = false;
    std::uint64_t count = 1;  // screens of a batch
};

// Reads the command line. None after --help or --version, which are answered. Throws OptionException.
std::optional<TopOptions> readTopOptions(int argc, char** argv);

}  // namespace vexo

#endif
