// SPDX-License-Identifier: MIT
// Command lines of the programs beside the monitor, in the conventions of GNU.
#ifndef VEXO_MAIN_COMPANION_OPTIONS_H
#define VEXO_MAIN_COMPANION_OPTIONS_H

#include <getopt.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Exception.h"
#include "messages/MessageHelper.h"

namespace vexo {

// A command line that is refused. The message says why.
class OptionException : public Exception {
public:
    using Exception::Exception;
};

// Throws OptionException with a text of a bundle, such as the program's own.
template <typename... Arguments>
[[noreturn]] void refuseFrom(const char* bundle, const char* key, Arguments... arguments) {
    throw OptionException(MessageHelper(bundle, (std::string(bundle) + "_").c_str()).getResStr(key, arguments...));
}

// The same with a text that the programs share.
template <typename... Arguments>
[[noreturn]] void refuseOption(const char* key, Arguments... arguments) {
    refuseFrom("OPTIONS", key, arguments...);
}

// An option as it was given. The texts are bytes.
struct GivenOption {
    int letter = 0;
    const char* name = nullptr;  // with its dashes, for messages
    const char* value = "";

    // Throws OptionException.
    [[noreturn]] void refuse() const { refuseOption("ERR_VALUE", name, value); }

    // The value in milliseconds, as parseDuration() reads it, when it lies between these, both inclusive.
    std::int64_t duration(std::int64_t leastMs, std::int64_t mostMs) const;
    // Bytes: a whole number with K, M, G or T behind it or nothing.
    std::uint64_t bytes(std::uint64_t least) const;
    // A number of things, from one on.
    std::uint64_t count() const;
    // Sets a text that may be given once, and is not empty.
    void setOnce(std::optional<std::string>& target) const;
};

inline constexpr std::int64_t kDayMs = 86'400'000;
inline constexpr std::int64_t kManyYearsMs = 36'500 * kDayMs;
// The shortest interval between two records.
inline constexpr std::int64_t kLeastIntervalMs = 100;

// What a program says of itself: the bundle of its texts, and the keys of its help there, in their order.
struct OwnTexts {
    const char* bundle;
    std::vector<const char*> help;
};

// Hands on every option of a command line but --help and --version: these print what they ask for, and then the result is
// false. `letters` and `options` are those of getopt_long, without these two; the list ends with an entry of zeros. Throws
// OptionException for what is none of them, and for an argument that belongs to none.
bool readOptions(int argc, char** argv, const OwnTexts& own, const std::string& letters, const option* options,
                 const std::function<void(const GivenOption&)>& take);

}  // namespace vexo

#endif
