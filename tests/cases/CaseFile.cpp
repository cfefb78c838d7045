// SPDX-License-Identifier: MIT
#include <fstream>
#include <regex>
#include <set>
#include <stdexcept>
#include <utility>

#include "Case.h"

namespace cases {
namespace {

const std::set<std::string> kInputs{"settings", "scenario", "file",  "mode",     "environment", "program", "limit",
                                    "ignore",   "input",    "steps", "redirect", "within",      "except"};
const std::set<std::string> kExpected{"stdout", "stderr", "json", "jsonerror", "writes", "calls"};

// The bytes of the notation's character at `at`: an escape is one character, and so is a UTF-8 sequence.
std::size_t characterSize(const std::string& line, std::size_t at) {
    if (line[at] == '\\') return line.compare(at, 2, "\\x") == 0 ? 4 : 2;
    std::size_t size = 1;
    while (at + size < line.size() && (static_cast<unsigned char>(line[at + size]) & 0xC0) == 0x80)
        ++size;
    return size;
}

void addLine(Directive& directive, const std::string& line) {
    if (kExpected.count(directive.keyword) != 0) {
        addExpected(directive.block, line.substr(1));
    } else {
        directive.block.push_back(line.substr(1));
    }
}

// A run that tells what it writes as JSON is made a second time, with "-JSON".
std::vector<Run> withJson(const std::vector<Run>& runs) {
    std::vector<Run> all;
    for (const Run& run : runs) {
        all.push_back(run);
        if (run.last("json") == nullptr) continue;
        Run twin = run;
        twin.name += ", in JSON";
        twin.arguments += " -JSON";
        for (Directive& directive : twin.directives) {
            if (directive.keyword == "stdout" || directive.keyword == "stderr") directive.keyword = "text";
            if (directive.keyword == "json") directive.keyword = "stdout";
            if (directive.keyword == "jsonerror") directive.keyword = "stderr";
        }
        all.push_back(twin);
    }
    return all;
}

}  // namespace

void addExpected(Lines& block, const std::string& line) {
    if (line.rfind("= ", 0) == 0) {
        std::size_t start = 2;
        while (line.compare(start, 2, "\\t") == 0)
            start += 2;
        std::string rule = line.substr(2, start - 2);
        for (std::size_t at = start; at < line.size(); at += characterSize(line, at))
            rule += '=';
        block.insert(block.end(), {rule, line.substr(2), rule});
        return;
    }
    std::string part;
    for (std::size_t at = 0; at < line.size();) {
        const std::string character = line.substr(at, characterSize(line, at));
        at += character.size();
        if (character != "\\n") {
            part += character;
        } else {
            block.push_back(std::exchange(part, ""));
        }
    }
    block.push_back(part);
}

std::vector<const Directive*> Run::all(const std::string& keyword) const {
    std::vector<const Directive*> found;
    for (const Directive& directive : directives)
        if (directive.keyword == keyword) found.push_back(&directive);
    return found;
}

const Directive* Run::last(const std::string& keyword) const {
    const auto found = all(keyword);
    return found.empty() ? nullptr : found.back();
}

std::vector<Run> readCase(const std::filesystem::path& path) {
    static const std::regex kDirective(R"(([a-z]+)(?: ([^|]*[^| ]))?(?: (\|.*))?)");
    static const std::regex kRun(R"(run ([^:]+):(.*) => (\w+))");
    std::ifstream file(path);
    std::vector<Directive> shared;
    std::vector<Run> runs;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        std::vector<Directive>& directives = runs.empty() ? shared : runs.back().directives;
        std::smatch parts;
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == '|' && !directives.empty()) {
            addLine(directives.back(), line);
        } else if (std::regex_match(line, parts, kRun)) {
            runs.push_back({parts[1], parts[2], parts[3], shared});
        } else if (std::regex_match(line, parts, kDirective) && kInputs.count(parts[1]) + kExpected.count(parts[1])) {
            directives.push_back({parts[1], parts[2], {}});
            if (parts[2] == kAnyLines) directives.back().block.push_back(kAnyLines);
            if (parts[3].matched) addLine(directives.back(), parts[3]);
        } else {
            throw std::runtime_error(path.string() + ":" + std::to_string(number) + ": not understood: " + line);
        }
    }
    if (runs.empty()) throw std::runtime_error(path.string() + ": no run");
    return withJson(runs);
}

}  // namespace cases
