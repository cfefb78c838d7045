// SPDX-License-Identifier: MIT
// The command line of vexo-report.
#ifndef VEXO_MAIN_REPORT_REPORTOPTIONS_H
#define VEXO_MAIN_REPORT_REPORTOPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

#include "sink/CsvText.h"

namespace vexo {

// Texts are bytes, as they were given.
struct ReportOptions {
    std::string history;
    std::optional<std::int64_t> fromMs;
    std::optional<std::int64_t> toMs;

    // One of these is given.
    std::optional<std::string> page;
    std::optional<std::string> ndjson;
    std::optional<std::string> csv;
    std::optional<std::string> backup;
    bool check = false;

    CsvFormulas csvFormulas = CsvFormulas::kGuarded;
};

// Reads the command line, in the conventions of GNU. None after --help or --version, which are answered. Throws
// OptionException.
std::optional<ReportOptions> readReportOptions(int argc, char** argv);

}  // namespace vexo

#endif
