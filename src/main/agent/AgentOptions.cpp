// SPDX-License-Identifier: MIT
#include "main/agent/AgentOptions.h"

#include <getopt.h>

#include "messages/MessageHelper.h"
#include "record/Codes.h"

namespace vexo {
namespace {

// Options without a letter of their own.
enum Option : int {
    kHistory = 256,
    kNdjson,
    kCsv,
    kCsvRaw,
    kListen,
    kTextfile,
    kInterval,
    kHandles,
    kCount,
    kOnce,
    kStall,
    kAbandon,
    kKeep,
    kMaxSize,
    kMinFree,
    kCheck
};

constexpr option kOptions[] = {
    {"config",   required_argument, nullptr, 'f'      },
    {"history",  required_argument, nullptr, kHistory },
    {"ndjson",   required_argument, nullptr, kNdjson  },
    {"csv",      required_argument, nullptr, kCsv     },
    {"csv-raw",  no_argument,       nullptr, kCsvRaw  },
    {"listen",   required_argument, nullptr, kListen  },
    {"textfile", required_argument, nullptr, kTextfile},
    {"interval", required_argument, nullptr, kInterval},
    {"handles",  required_argument, nullptr, kHandles },
    {"count",    required_argument, nullptr, kCount   },
    {"once",     no_argument,       nullptr, kOnce    },
    {"stall",    required_argument, nullptr, kStall   },
    {"abandon",  required_argument, nullptr, kAbandon },
    {"keep",     required_argument, nullptr, kKeep    },
    {"max-size", required_argument, nullptr, kMaxSize },
    {"min-free", required_argument, nullptr, kMinFree },
    {"check",    no_argument,       nullptr, kCheck   },
    {nullptr,    0,                 nullptr, 0        }
};

void readLimit(AgentOptions& options, const GivenOption& given) {
    switch (given.letter) {
        case kInterval:
            options.intervalMs = given.duration(kLeastIntervalMs, kDayMs);
            break;
        case kCount:
            options.count = given.count();
            break;
        case kStall:
            options.stallMs = given.duration(1, kManyYearsMs);
            break;
        case kAbandon:
            options.abandonMs = given.duration(1, kManyYearsMs);
            break;
        case kKeep:
            options.keepMs = given.duration(1, kManyYearsMs);
            break;
        case kMaxSize:
            options.maxBytes = given.bytes(1);
            break;
        case kMinFree:
            options.minFreeBytes = given.bytes(0);
            break;
        default:
            options.handles = scopeOf(given.value);
            if (!options.handles) given.refuse();
    }
}

void readOption(AgentOptions& options, const GivenOption& given) {
    switch (given.letter) {
        case 'f':
            options.settings = given.value;
            break;
        case kHistory:
            return given.setOnce(options.history);
        case kNdjson:
            return given.setOnce(options.ndjson);
        case kCsv:
            return given.setOnce(options.csv);
        case kListen:
            return given.setOnce(options.listen);
        case kTextfile:
            return given.setOnce(options.textfile);
        case kCsvRaw:
            options.csvFormulas = CsvFormulas::kRaw;
            break;
        case kOnce:
            options.once = true;
            break;
        case kCheck:
            options.check = true;
            break;
        default:
            readLimit(options, given);
    }
}

void examine(const AgentOptions& options) {
    if (options.settings.empty()) refuseOption("ERR_NO_SETTINGS");
    if (options.check) return;
    if (!options.hasSink()) refuseFrom("AGENT", "ERR_NO_SINK");
    if (options.once && options.count != 0) refuseOption("ERR_EXCLUDE", "--once", "--count");
    if (options.abandonMs < options.stallMs) refuseFrom("AGENT", "ERR_ABANDON");
}

}  // namespace

std::optional<AgentOptions> readAgentOptions(int argc, char** argv) {
    AgentOptions options;
    const OwnTexts own = {
        "AGENT", {"HELP_USAGE", "HELP_SINKS", "HELP_SAMPLING", "HELP_HISTORY", "HELP_OTHER"}
    };
    const auto take = [&options](const GivenOption& given) { readOption(options, given); };
    if (!readOptions(argc, argv, own, ":f:", kOptions, take)) return std::nullopt;
    examine(options);
    return options;
}

}  // namespace vexo
