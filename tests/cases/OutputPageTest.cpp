// SPDX-License-Identifier: MIT
// Keeps the page about the output honest: what it lists as irregular is what the cases expect and what the source says.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "Case.h"

namespace cases {
namespace {

namespace fs = std::filesystem;

const fs::path kSource = VEXO_SOURCE_DIR;
const std::string kSampleIndent(6, ' ');

// One entry of the list: "- `file` text", then its sample lines, indented, in the notation of the cases.
struct Irregularity {
    std::string file;
    Lines sample{};
    bool shown = true;  // false when the text says "No run shows it"
};

Lines linesOf(const fs::path& path) {
    std::ifstream file(path);
    Lines lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

std::vector<Irregularity> readList() {
    std::vector<Irregularity> list;
    bool inList = false;
    for (const std::string& line : linesOf(kSource / "docs/OUTPUT.md")) {
        if (line.rfind("## ", 0) == 0) inList = line == "## Deliberate irregularities";
        if (!inList) continue;
        if (line.rfind("- `", 0) == 0) list.push_back({line.substr(3, line.find('`', 3) - 3)});
        if (line.find("No run shows it") != std::string::npos) list.back().shown = false;
        if (line.rfind(kSampleIndent, 0) == 0 && !list.empty())
            addExpected(list.back().sample, line.substr(kSampleIndent.size()));
    }
    return list;
}

// Every block of lines that some case expects.
std::vector<Lines> readExpectations() {
    std::vector<Lines> blocks;
    for (const fs::directory_entry& entry : fs::directory_iterator(VEXO_CASES_DIR)) {
        if (entry.path().extension() != ".case") continue;
        for (const Run& run : readCase(entry.path()))
            for (const char* keyword : {"stdout", "stderr", "writes"})
                for (const Directive* directive : run.all(keyword))
                    blocks.push_back(directive->block);
    }
    return blocks;
}

TEST(OutputPage, ListsOnlyWhatACaseExpects) {
    const std::vector<Lines> expectations = readExpectations();
    const std::vector<Irregularity> list = readList();
    ASSERT_FALSE(list.empty());
    for (const Irregularity& entry : list) {
        EXPECT_NE(entry.sample.empty(), entry.shown) << entry.file << ": either a sample or no run that shows it";
        EXPECT_TRUE(std::any_of(expectations.begin(), expectations.end(),
                                [&](const Lines& block) {
                                    return std::search(block.begin(), block.end(), entry.sample.begin(),
                                                       entry.sample.end()) != block.end();
                                }))
            << entry.file << ": no case expects\n"
            << entry.sample.front();
    }
}

TEST(OutputPage, ListsWhatTheSourceMarks) {
    std::map<std::string, int> listed;
    for (const Irregularity& entry : readList())
        ++listed[entry.file];
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kSource / "src")) {
        if (!entry.is_regular_file()) continue;
        const Lines lines = linesOf(entry.path());
        const auto marks = std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("// Established output:") != std::string::npos;
        });
        const std::string file = entry.path().lexically_relative(kSource);
        EXPECT_GE(listed[file], marks) << file << " marks more than the page lists";
        EXPECT_TRUE(marks > 0 || listed[file] == 0) << file << " marks nothing";
    }
}

}  // namespace
}  // namespace cases
