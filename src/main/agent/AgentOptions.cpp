// SPDX-License-Identifier: MIT
#include "main/agent/AgentOptions.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

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
    {"help",     no_argument,       nullptr, 'h'      },
    {"version",  no_argument,       nullptr, 'V'      },
    {nullptr,    0,                 nullptr, 0        }
};

template <typename... Arguments>
[[noreturn]] void refuse(const char* key, Arguments... arguments) {
    throw OptionException(MessageHelper("AGENT", "AGENT_").getResStr(key, arguments...));
}

using Unit = std::pair<std::string_view, std::int64_t>;

constexpr std::array<Unit, 6> kTimes = {
    {{"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}, {"d", 86'400'000}, {"", 1000}}
};
constexpr std::array<Unit, 5> kSizes = {
    {{"K", std::int64_t{1} << 10U},
     {"M", std::int64_t{1} << 20U},
     {"G", std::int64_t{1} << 30U},
     {"T", std::int64_t{1} << 40U},
     {"", 1}}
};

// A whole number with one of the units, from `least` to `most` in the smallest one.
template <std::size_t N>
std::int64_t quantity(const char* name, std::string_view text, const std::array<Unit, N>& units, std::int64_t least,
                      std::int64_t most) {
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [digitsEnd, error] = std::from_chars(text.data(), end, number);
    const std::string_view unit(digitsEnd, static_cast<std::size_t>(end - digitsEnd));
    const auto known = std::find_if(units.begin(), units.end(), [unit](const Unit& one) { return one.first == unit; });
    if (error != std::errc() || known == units.end() || number < 0 || number > most / known->second ||
        number * known->second < least) {
        refuse("ERR_VALUE", name, std::string(text).c_str());
    }
    return number * known->second;
}

constexpr std::int64_t kDayMs = 86'400'000;
constexpr std::int64_t kManyYearsMs = 36'500 * kDayMs;
constexpr std::int64_t kMostBytes = std::int64_t{1} << 60U;

void readLimit(AgentOptions& options, int letter, const char* name, const char* value) {
    constexpr std::int64_t kLeastIntervalMs = 100;
    constexpr std::array<Unit, 1> kPlain = {{{"", 1}}};
    switch (letter) {
        case kInterval:
            options.intervalMs = quantity(name, value, kTimes, kLeastIntervalMs, kDayMs);
            break;
        case kCount:
            options.count = static_cast<std::uint64_t>(quantity(name, value, kPlain, 1, kMostBytes));
            break;
        case kStall:
            options.stallMs = quantity(name, value, kTimes, 1, kManyYearsMs);
            break;
        case kAbandon:
            options.abandonMs = quantity(name, value, kTimes, 1, kManyYearsMs);
            break;
        case kKeep:
            options.keepMs = quantity(name, value, kTimes, 1, kManyYearsMs);
            break;
        case kMaxSize:
            options.maxBytes = static_cast<std::uint64_t>(quantity(name, value, kSizes, 1, kMostBytes));
            break;
        case kMinFree:
            options.minFreeBytes = static_cast<std::uint64_t>(quantity(name, value, kSizes, 0, kMostBytes));
            break;
        default:
            options.handles = scopeOf(value);
            if (!options.handles) refuse("ERR_VALUE", name, value);
    }
}

// The text of an option, once.
void setTarget(std::optional<std::string>& target, const char* name, const char* value) {
    if (target) refuse("ERR_REPEATED", name);
    if (!*value) refuse("ERR_VALUE", name, value);
    target = value;
}

void readOption(AgentOptions& options, int letter, const char* name, const char* value) {
    switch (letter) {
        case 'f':
            options.settings = value;
            break;
        case kHistory:
            return setTarget(options.history, name, value);
        case kNdjson:
            return setTarget(options.ndjson, name, value);
        case kCsv:
            return setTarget(options.csv, name, value);
        case kListen:
            return setTarget(options.listen, name, value);
        case kTextfile:
            return setTarget(options.textfile, name, value);
        case kCsvRaw:
            options.csvFormulas = CsvFormulas::kRaw;
            break;
        case kOnce:
            options.once = true;
            break;
        case kCheck:
            options.check = true;
            break;
        case 'h':
            options.help = true;
            break;
        case 'V':
            options.version = true;
            break;
        default:
            readLimit(options, letter, name, value);
    }
}

void examine(const AgentOptions& options) {
    if (options.help || options.version) return;
    if (options.settings.empty()) refuse("ERR_NO_SETTINGS");
    if (options.check) return;
    if (!options.hasSink()) refuse("ERR_NO_SINK");
    if (options.once && options.count != 0) refuse("ERR_EXCLUDE", "--once", "--count");
    if (options.abandonMs < options.stallMs) refuse("ERR_ABANDON");
}

}  // namespace

AgentOptions readOptions(int argc, char** argv) {
    AgentOptions options;
    ::opterr = 0;  // the messages are our own
    ::optind = 1;
    for (;;) {
        int place = -1;
        const int current = ::optind;
        const int letter = ::getopt_long(argc, argv, ":f:hV", kOptions, &place);
        if (letter == -1) break;
        const std::string given = argv[std::min(current, argc - 1)];
        if (letter == ':') refuse("ERR_NO_VALUE", given.c_str());
        if (letter == '?') refuse("ERR_OPTION", given.c_str());
        const std::string name = place >= 0 ? std::string("--") + kOptions[place].name : "-f";
        readOption(options, letter, name.c_str(), ::optarg ? ::optarg : "");
    }
    if (::optind < argc) refuse("ERR_ARGUMENT", argv[::optind]);
    examine(options);
    return options;
}

}  // namespace vexo
