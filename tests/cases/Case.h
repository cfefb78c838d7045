// SPDX-License-Identifier: MIT
// Cases: whole runs of the program, in files that read from top to bottom. README.md tells their format.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace cases {

using Lines = std::vector<std::string>;

// Stands for any lines in what a run is expected to write.
inline const std::string kAnyLines = "...";

// A keyword at the beginning of a line, what follows it there, and the lines behind "|" below it. In what a run is
// expected to write, titles and joined lines are spelled out already.
struct Directive {
    std::string keyword;
    std::string argument;
    Lines block;
};

struct Run {
    std::string name;
    std::string arguments;
    std::string status;                 // an exit status, or "SIG..." for the signal that ended the process
    std::vector<Directive> directives;  // those of the whole case, then the run's own

    std::vector<const Directive*> all(const std::string& keyword) const;
    // The one that counts, being the last; null when there is none.
    const Directive* last(const std::string& keyword) const;
};

// Adds a line of expected output to a block: "= " stands before a title that is ruled above and below, "\n" between lines
// that are written as one.
void addExpected(Lines& block, const std::string& line);

// Throws std::runtime_error naming file and line of what is no case.
std::vector<Run> readCase(const std::filesystem::path& path);

// The bytes of a notation: "\t", "\s", "\n", "\\" and "\xNN" decoded, "@DIR@" and "@SOURCE@" replaced.
std::string decoded(const std::string& notation, const std::string& directory);
std::string decoded(const Lines& block, const std::string& directory);

// The notation of what a run wrote. A clock becomes "@TIME@" where it stands in its own format, and nowhere else.
Lines notationOf(std::string text, const std::string& directory);

// The first difference in a readable form; empty when there is none.
std::string difference(const Lines& expected, const Lines& actual);

struct Outcome {
    std::string out;
    std::string err;
    std::string status;      // as in Run
    double secondsToEnd;     // from the last step to the end
    std::string undoneStep;  // a step that was never due
};

// Runs `command` in `directory` with nothing but `environment`, and plays the user at its keyboard.
Outcome execute(const Run& run, const Lines& command, const Lines& environment, const std::string& directory);

}  // namespace cases
