// SPDX-License-Identifier: MIT
#include "main/top/TopOptions.h"

#include <cstdlib>

#include "record/PointInTime.h"
#include "record/RecordCollector.h"

namespace vexo {
namespace {

// Options without a letter of their own.
enum Option : int { kReplay = 256, kAt, kFollow, kView, kInterval, kNoColor, kBatch, kCount };

constexpr option kOptions[] = {
    {"config",   required_argument, nullptr, 'f'      },
    {"replay",   required_argument, nullptr, kReplay  },
    {"at",       required_argument, nullptr, kAt      },
    {"follow",   no_argument,       nullptr, kFollow  },
    {"view",     required_argument, nullptr, kView    },
    {"interval", required_argument, nullptr, kInterval},
    {"no-color", no_argument,       nullptr, kNoColor },
    {"batch",    no_argument,       nullptr, kBatch   },
    {"count",    required_argument, nullptr, kCount   },
    {nullptr,    0,                 nullptr, 0        }
};

void readView(TopOptions& options, const GivenOption& given) {
    const auto view = viewOf(given.value);
    if (!view) given.refuse();
    options.view = *view;
}

// What it means depends on the history; whether it means anything does not.
void readPlace(TopOptions& options, const GivenOption& given) {
    given.setOnce(options.at);
    if (!parsePointInTime(given.value, RecordClocks::systemEpochMs())) given.refuse();
}

void readOption(TopOptions& options, const GivenOption& given, std::optional<std::uint64_t>& count) {
    switch (given.letter) {
        case 'f':
            return given.setOnce(options.settings);
        case kReplay:
            return given.setOnce(options.history);
        case kAt:
            return readPlace(options, given);
        case kView:
            return readView(options, given);
        case kInterval:
            options.intervalMs = given.duration(kLeastIntervalMs, kDayMs);
            break;
        case kCount:
            count = given.count();
            break;
        case kFollow:
            options.follow = true;
            break;
        case kNoColor:
            options.withColours = false;
            break;
        default:
            options.batch = true;
    }
}

void examine(const TopOptions& options, bool hasCount) {
    if (options.settings && options.history) refuseOption("ERR_EXCLUDE", "-f", "--replay");
    if (!options.settings && !options.history) refuseFrom("TOP", "ERR_NO_SOURCE");
    if (hasCount && !options.batch) refuseOption("ERR_NEEDS", "--count", "--batch");
    if (options.at && !options.history) refuseOption("ERR_NEEDS", "--at", "--replay");
    if (options.follow && !options.history) refuseOption("ERR_NEEDS", "--follow", "--replay");
    if (options.intervalMs && options.history) refuseOption("ERR_EXCLUDE", "--interval", "--replay");
}

}  // namespace

std::optional<TopOptions> readTopOptions(int argc, char** argv) {
    TopOptions options;
    std::optional<std::uint64_t> count;
    const OwnTexts own = {
        "TOP", {"HELP_USAGE", "HELP_SCREEN", "HELP_OTHER"}
    };
    const auto take = [&](const GivenOption& given) { readOption(options, given, count); };
    if (!readOptions(argc, argv, own, ":f:", kOptions, take)) return std::nullopt;
    examine(options, count.has_value());
    options.count = count.value_or(options.count);
    const char* const unwanted = std::getenv("NO_COLOR");
    if (unwanted && *unwanted) options.withColours = false;
    return options;
}

}  // namespace vexo
