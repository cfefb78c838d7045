// SPDX-License-Identifier: MIT
#include "main/companion/Options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "main/companion/Companion.h"
#include "output/Version.h"
#include "record/Duration.h"

namespace vexo {
namespace {

constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 60U;

using Unit = std::pair<std::string_view, std::uint64_t>;
constexpr std::array<Unit, 5> kSizes = {
    {{"", 1},
     {"K", std::uint64_t{1} << 10U},
     {"M", std::uint64_t{1} << 20U},
     {"G", std::uint64_t{1} << 30U},
     {"T", std::uint64_t{1} << 40U}}
};

// A whole number with a unit behind it; none for anything else, and beyond kMostBytes.
template <std::size_t N>
std::optional<std::uint64_t> quantity(std::string_view text, const std::array<Unit, N>& units) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [digitsEnd, error] = std::from_chars(text.data(), end, number);
    const std::string_view unit(digitsEnd, static_cast<std::size_t>(end - digitsEnd));
    const auto known = std::find_if(units.begin(), units.end(), [unit](const Unit& one) { return one.first == unit; });
    if (error != std::errc() || known == units.end() || number > kMostBytes / known->second) return std::nullopt;
    return number * known->second;
}

// Hands on every option, and refuses what is none.
void readEach(int argc, char** argv, const char* letters, const option* options,
              const std::function<void(const GivenOption&)>& take) {
    ::opterr = 0;  // the messages are our own
    ::optind = 1;
    for (;;) {
        int place = -1;
        const int current = ::optind;
        const int letter = ::getopt_long(argc, argv, letters, options, &place);
        if (letter == -1) break;
        const std::string given = argv[std::min(current, argc - 1)];
        if (letter == ':') refuseOption("ERR_NO_VALUE", given.c_str());
        if (letter == '?') refuseOption("ERR_OPTION", given.c_str());
        const std::string name = place >= 0 ? std::string("--") + options[place].name : given.substr(0, 2);
        take({letter, name.c_str(), ::optarg ? ::optarg : ""});
    }
    if (::optind < argc) refuseOption("ERR_ARGUMENT", argv[::optind]);
}

void printOwnTexts(const OwnTexts& own, bool help) {
    const MessageHelper messages(own.bundle, (std::string(own.bundle) + "_").c_str());
    std::vector<String> lines;
    if (help) {
        for (const char* const key : own.help)
            lines.push_back(messages.getResStr(key));
    } else {
        lines.push_back(messages.getResStr("NAME", kProgramVersion));
    }
    printLines(lines);
}

}  // namespace

std::int64_t GivenOption::duration(std::int64_t leastMs, std::int64_t mostMs) const {
    const auto parsed = parseDuration(value);
    if (!parsed || *parsed < leastMs || *parsed > mostMs) refuse();
    return *parsed;
}

std::uint64_t GivenOption::bytes(std::uint64_t least) const {
    const auto parsed = quantity(value, kSizes);
    if (!parsed || *parsed < least) refuse();
    return *parsed;
}

std::uint64_t GivenOption::count() const {
    constexpr std::array<Unit, 1> kPlain = {{{"", 1}}};
    const auto parsed = quantity(value, kPlain);
    if (!parsed || *parsed == 0) refuse();
    return *parsed;
}

void GivenOption::setOnce(std::optional<std::string>& target) const {
    if (target) refuseOption("ERR_REPEATED", name);
    if (!*value) refuse();
    target = value;
}

bool readOptions(int argc, char** argv, const OwnTexts& own, const std::string& letters, const option* options,
                 const std::function<void(const GivenOption&)>& take) {
    std::vector<option> known = {
        {"help",    no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'V'}
    };
    for (; options->name; ++options)
        known.push_back(*options);
    known.push_back({});
    bool help = false;
    bool version = false;
    readEach(argc, argv, (letters + "hV").c_str(), known.data(), [&](const GivenOption& given) {
        if (given.letter == 'h')
            help = true;
        else if (given.letter == 'V')
            version = true;
        else
            take(given);
    });
    if (help || version) printOwnTexts(own, help);
    return !help && !version;
}

}  // namespace vexo
