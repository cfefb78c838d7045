// SPDX-License-Identifier: MIT
// Runs the cases named on the command line, each as a test of its own.
#include <gtest/gtest.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <regex>
#include <sstream>
#include <string_view>

#include "Case.h"

namespace cases {
namespace {

namespace fs = std::filesystem;

constexpr char kDefaultLog[] = "monitor.log";

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Settings and scenarios of a run are added to those above it.
std::string settingsOf(const Run& run, const std::string& directory) {
    std::string text = contentOf(fs::path(VEXO_CASES_DIR) / "default.cfg");
    for (const Directive* settings : run.all("settings"))
        text = (settings->argument == "only" ? "" : text) + decoded(settings->block, directory);
    return text;
}

void prepare(const Run& run, const fs::path& directory) {
    std::ofstream(directory / "vexo.cfg") << settingsOf(run, directory);
    std::ofstream scenario(directory / "scenario.toml");
    for (const Directive* part : run.all("scenario"))
        for (const std::string& line : part->block)
            scenario << line << "\n";
    for (const Directive* file : run.all("file")) {
        const fs::path path = directory / file->argument;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << decoded(file->block, directory);
    }
    for (const Directive* mode : run.all("mode")) {
        const unsigned long bits = std::stoul(mode->argument.substr(0, 3), nullptr, 8);
        fs::permissions(directory / mode->argument.substr(4), static_cast<fs::perms>(bits));
    }
}

Lines commandOf(const Run& run, const std::string& directory) {
    Lines command;
    const char* wrapper = std::getenv("VEXO_CASE_WRAPPER");  // such as "valgrind -q --error-exitcode=99"
    std::string program = VEXO_PROGRAM;
    if (run.last("program") != nullptr) {
        program = directory + "/" + run.last("program")->argument;
        fs::create_directories(fs::path(program).parent_path());
        fs::copy_file(VEXO_PROGRAM, program);
    }
    std::istringstream words((wrapper != nullptr ? wrapper : "") + (" " + program) + " " + run.arguments);
    for (std::string word; words >> word;)
        command.push_back(decoded(word, directory));
    return command;
}

Lines environmentOf(const Run& run, const std::string& directory) {
    std::map<std::string, std::string> variables{{"VEXO_ENGINE_LIBRARY", XRSIM_LIBRARY},
                                                 {"XRSIM_SCENARIO", directory + "/scenario.toml"},
                                                 {"XRSIM_TRACE", directory + "/calls"}};
    for (const Directive* variable : run.all("environment")) {
        const std::size_t equals = variable->argument.find('=');
        variables[variable->argument.substr(0, equals)] = decoded(variable->argument.substr(equals + 1), directory);
    }
    Lines environment;
    for (const auto& [name, value] : variables)
        environment.emplace_back(name).append("=").append(value);
    return environment;
}

// The calls of a trace, one line a call: "XrGetOpenFileName[1]=7008" is what index 1 was answered with.
Lines callsOf(const std::string& trace) {
    static const std::regex kCall(R"((\w+)\((?:.*?index=(\d+))?.*?\) = (-?\d+))");
    Lines calls;
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        std::regex_search(line, parts, kCall);
        const std::string index = parts[2].matched ? "[" + parts[2].str() + "]" : "";
        calls.push_back(parts.empty() ? line : parts[1].str() + index + (parts[3] == "0" ? "" : "=" + parts[3].str()));
    }
    return calls;
}

// What every run owes the engine: what it starts it stops, what it connects it disconnects, what it takes it frees.
void checkConversation(const Lines& calls, bool killed) {
    // A call that failed counts where that does not matter to what is owed.
    const auto count = [&](const std::string& name, bool failedToo) {
        return std::count_if(calls.begin(), calls.end(), [&](const std::string& call) {
            return failedToo ? call.substr(0, call.find('=')) == name : call == name;
        });
    };
    for (const std::string& call : calls)
        EXPECT_NE(call.rfind("MISUSE", 0), 0U) << call;
    if (killed) return;
    EXPECT_EQ(count("XrStart", true), count("XrStop", true));
    EXPECT_EQ(count("XrConnectServer", false), count("XrDisconnect", true));
    for (const std::string list : {"OpenFiles", "KesdClients", "SQLConnections"})
        EXPECT_EQ(count("XrGet" + list + "Data", false), count("XrFree" + list + "Data", true)) << list;
}

Lines wordsOf(const Lines& lines) {
    Lines words;
    for (const std::string& line : lines) {
        std::istringstream text(line);
        for (std::string word; text >> word;)
            words.push_back(word);
    }
    return words;
}

void compare(const std::string& subject, const Directive* expected, const Lines& actual) {
    const std::string differs = difference(expected != nullptr ? expected->block : Lines(), actual);
    if (!differs.empty()) ADD_FAILURE() << subject << ": \"-\" is expected, \"+\" is what came\n" << differs;
}

void play(const Run& run) {
    const bool isWrapped = std::getenv("VEXO_CASE_WRAPPER") != nullptr;
    for (const Directive* except : run.all("except"))
        if (except->argument == (isWrapped ? "wrapper" : VEXO_SANITIZER)) return;
    SCOPED_TRACE("run " + run.name);
    std::string directory = (fs::temp_directory_path() / "vexo-case-XXXXXX").string();
    ASSERT_NE(::mkdtemp(directory.data()), nullptr) << directory;
    prepare(run, directory);
    const auto outcome = execute(run, commandOf(run, directory), environmentOf(run, directory), directory);

    EXPECT_EQ(outcome.status, run.status);
    EXPECT_EQ(outcome.undoneStep, "") << "a step that was never due";
    const Directive* within = run.last("within");
    if (within != nullptr && !isWrapped) {
        EXPECT_LT(outcome.secondsToEnd, std::stod(within->argument));
    }
    compare("standard output", run.last("stdout"), notationOf(outcome.out, directory));
    compare("standard error", run.last("stderr"), notationOf(outcome.err, directory));
    bool writesLog = false;
    for (const Directive* file : run.all("writes")) {
        writesLog |= file->argument == kDefaultLog;
        compare(file->argument, file, notationOf(contentOf(fs::path(directory) / file->argument), directory));
    }
    EXPECT_EQ(fs::is_regular_file(fs::path(directory) / kDefaultLog), writesLog)
        << "whether there is a " << kDefaultLog;

    const Lines calls = callsOf(contentOf(fs::path(directory) / "calls"));
    checkConversation(calls, outcome.status.rfind("SIG", 0) == 0);
    if (const Directive* expected = run.last("calls")) {
        const Directive words{"calls", "", wordsOf(expected->block)};
        compare("calls", &words, calls);
    }
    fs::remove_all(directory);
}

Lines s_files;  // the cases named on the command line

class Case : public testing::TestWithParam<std::string> {};

TEST_P(Case, RunsAsWritten) {
    for (const cases::Run& run : readCase(GetParam()))
        play(run);
}

INSTANTIATE_TEST_SUITE_P(Files, Case, testing::ValuesIn(s_files));

}  // namespace
}  // namespace cases

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::signal(SIGPIPE, SIG_IGN);
    for (int i = 1; i < argc; ++i)
        if (argv[i][0] != '-') cases::s_files.emplace_back(argv[i]);
    testing::InitGoogleTest(&argc, argv);
    if (cases::s_files.empty()) std::cerr << "usage: " << argv[0] << " FILE.case ...\n";
    return cases::s_files.empty() ? 2 : RUN_ALL_TESTS();
}
