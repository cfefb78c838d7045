// SPDX-License-Identifier: MIT
#include "main/report/ReportOptions.h"

#include <vector>

#include "main/companion/Options.h"
#include "record/PointInTime.h"
#include "record/RecordCollector.h"

namespace vexo {
namespace {

// Options without a letter of their own.
enum Option : int { kHistory = 256, kFrom, kTo, kNdjson, kCsv, kCsvRaw, kBackup, kCheck };

constexpr option kOptions[] = {
    {"history", required_argument, nullptr, kHistory},
    {"from",    required_argument, nullptr, kFrom   },
    {"to",      required_argument, nullptr, kTo     },
    {"output",  required_argument, nullptr, 'o'     },
    {"ndjson",  required_argument, nullptr, kNdjson },
    {"csv",     required_argument, nullptr, kCsv    },
    {"csv-raw", no_argument,       nullptr, kCsvRaw },
    {"backup",  required_argument, nullptr, kBackup },
    {"check",   no_argument,       nullptr, kCheck  },
    {nullptr,   0,                 nullptr, 0       }
};

std::int64_t pointInTime(const GivenOption& given, TwiceShown twice) {
    const auto parsed = parsePointInTime(given.value, RecordClocks::systemEpochMs(), twice);
    if (!parsed) given.refuse();
    return *parsed;
}

void readOption(ReportOptions& options, std::optional<std::string>& history, const GivenOption& given) {
    switch (given.letter) {
        case kHistory:
            return given.setOnce(history);
        case 'o':
            return given.setOnce(options.page);
        case kNdjson:
            return given.setOnce(options.ndjson);
        case kCsv:
            return given.setOnce(options.csv);
        case kBackup:
            return given.setOnce(options.backup);
        case kFrom:
            options.fromMs = pointInTime(given, TwiceShown::kFirst);
            break;
        case kTo:
            options.toMs = pointInTime(given, TwiceShown::kLast);
            break;
        case kCsvRaw:
            options.csvFormulas = CsvFormulas::kRaw;
            break;
        default:
            options.check = true;
    }
}

// The options that tell what to make, as they are given.
std::vector<const char*> outputsOf(const ReportOptions& options) {
    std::vector<const char*> outputs;
    if (options.page) outputs.push_back("-o");
    if (options.ndjson) outputs.push_back("--ndjson");
    if (options.csv) outputs.push_back("--csv");
    if (options.backup) outputs.push_back("--backup");
    if (options.check) outputs.push_back("--check");
    return outputs;
}

void examine(const ReportOptions& options) {
    if (options.history.empty()) refuseFrom("REPORT", "ERR_NO_HISTORY");
    const std::vector<const char*> outputs = outputsOf(options);
    if (outputs.empty()) refuseFrom("REPORT", "ERR_NO_OUTPUT");
    if (outputs.size() > 1) refuseOption("ERR_EXCLUDE", outputs[0], outputs[1]);
    const bool hasSpan = !options.backup && !options.check;
    if (!hasSpan && (options.fromMs || options.toMs))
        refuseOption("ERR_EXCLUDE", options.fromMs ? "--from" : "--to", outputs[0]);
    if (options.csvFormulas == CsvFormulas::kRaw && !options.csv) refuseOption("ERR_NEEDS", "--csv-raw", "--csv");
    if (options.fromMs && options.toMs && *options.fromMs > *options.toMs)
        refuseFrom("REPORT", "ERR_ORDER", localTime(*options.fromMs).c_str(), localTime(*options.toMs).c_str());
}

}  // namespace

std::optional<ReportOptions> readReportOptions(int argc, char** argv) {
    ReportOptions options;
    std::optional<std::string> history;
    const OwnTexts own = {
        "REPORT", {"HELP_USAGE", "HELP_OUTPUT", "HELP_OTHER"}
    };
    const auto take = [&](const GivenOption& given) { readOption(options, history, given); };
    if (!readOptions(argc, argv, own, ":o:", kOptions, take)) return std::nullopt;
    options.history = history.value_or("");
    examine(options);
    return options;
}

}  // namespace vexo
