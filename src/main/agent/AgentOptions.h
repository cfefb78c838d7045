// SPDX-License-Identifier: MIT
// The command line of vexo-agent.
#ifndef VEXO_MAIN_AGENT_AGENTOPTIONS_H
#define VEXO_MAIN_AGENT_AGENTOPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

#include "main/companion/Options.h"
#include "record/Record.h"
#include "sink/CsvText.h"

namespace vexo {

// Texts are bytes, as they were given.
struct AgentOptions {
    std::string settings;  // path of the settings file
    std::optional<std::string> history;
    std::optional<std::string> ndjson;
    std::optional<std::string> csv;
    std::optional<std::string> listen;
    std::optional<std::string> textfile;
    CsvFormulas csvFormulas = CsvFormulas::kGuarded;

    std::optional<std::int64_t> intervalMs;
    std::optional<HandleScope> handles;
    std::uint64_t count = 0;  // 0 is no limit
    bool once = false;
    std::int64_t stallMs = 60'000;
    std::int64_t abandonMs = 900'000;

    // Of the history.
    std::int64_t keepMs = 1'209'600'000;                     // 14 days
    std::uint64_t maxBytes = std::uint64_t{1} << 30U;        // 1 GB
    std::uint64_t minFreeBytes = std::uint64_t{256} << 20U;  // 256 MB

    bool check = false;

    bool hasSink() const { return history || ndjson || csv || listen || textfile; }
    // Whether the run ends by itself.
    bool isBounded() const { return once || count != 0; }
};

// Reads the command line, in the conventions of GNU. None after --help or --version, which are answered. Throws
// OptionException.
std::optional<AgentOptions> readAgentOptions(int argc, char** argv);

}  // namespace vexo

#endif
