// SPDX-License-Identifier: MIT
#include "config/ConfigFileReader.h"

#include <sys/stat.h>

#include <map>

#include "Support.h"

namespace {

using Values = std::map<std::string, String>;

const char* const kKeys[] = {"SERV", "USER", "PASS", "REFR", "LIMI", "OUTP", "NAME",
                             "FILE", "SESS", "CONN", "RESO", "COMM", "HAND"};
const std::string kComplete =
    "SERVER=s\nUSER=u\nPASS=p\nREFRESH=10\nLIMIT=7\nOUTPUT=console\nNAME=n\n"
    "FILES=x\nSESSIONS=x\nCONN=x\nRESOURCES=\nCOMM=yes\nHANDLES=NOT\n";

Values settings(const std::string& content) {
    std::ofstream("vexo.cfg") << content;
    const auto data = ConfigFileReader(L"vexo.cfg").readConfiguration();
    const auto word = [](bool shown) { return shown ? L"y" : L"n"; };
    const String output = data->outputType + (data->consoleOutput ? L" C" : L"") + (data->fileOutput ? L" F" : L"");
    return {{"SERV", data->server}, {"USER", data->userName}, {"PASS", data->password}, {"OUTP", output},
            {"REFR", decimal(data->refreshRate)}, {"LIMI", decimal(data->refreshLimit)}, {"NAME", data->logFileName},
            {"FILE", word(data->showFiles)}, {"SESS", word(data->showSessions)}, {"CONN", word(data->showConnections)},
            {"RESO", word(data->showResources)}, {"COMM", word(data->showCommunications)},
            {"HAND", word(data->showHandles)}};
}

}  // namespace

TEST(ConfigFileReader, FollowsTheRulesOfLinesAndSettings) {
    // Lines behind a complete file, and what they change.
    const std::pair<std::string, Values> rows[] = {
        {"", {}},
        {"#SERVER=x\n// SERVER=x\n \t //SERVER=x\n\n \t\r\nSERVER\n===\n=\nSER=x", {}},
        {"service-x=1", {{"SERV", L"1"}}},
        {"SERVER=1\nserv=2", {{"SERV", L"2"}}},
        {"\t SERV = x y \t\r", {{"SERV", L" x y"}}},
        {"=USER==x=", {{"USER", L"x"}}},
        {"USER=x=y\nPASS=", {{"USER", L""}, {"PASS", L""}}},
        {std::string("PASS=a\0b", 8), {{"PASS", String(L"a\0b", 3)}}},
        {"PASS=\xC3\xA4\xFF//", {{"PASS", L"\u00E4\xDCFF//"}}},
        {"REFRESH=1", {{"REFR", L"5"}}},
        {"REFRESH=4", {{"REFR", L"5"}}},
        {"REFRESH = 6 ", {{"REFR", L"6"}}},
        {"REFRESH=2147483647", {{"REFR", L"2147483647"}}},
        {"REFRESH=2147483648", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"REFRESH=abc", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"REFRESH=-7", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"REFRESH=", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"LIMIT=-1", {{"LIMI", L"0"}}},
        {"LIMIT=1x", {{"LIMI", L"0"}}},
        {"LIMIT=1", {{"LIMI", L"1"}}},
        {"OUTPUT=consul", {{"OUTP", L"consul C"}}},
        {"OUTPUT=Both", {{"OUTP", L"Both C F"}}},
        {"OUTPUT=con", {{"OUTP", L"con F"}}},
        {"OUTPUT= both", {{"OUTP", L" both F"}}},
        {"NAME=", {{"NAME", L"monitor.log"}}},
        {"FILES=No\nSESS=no \nCONN=no", {{"FILE", L"n"}, {"SESS", L"n"}, {"CONN", L"n"}}},
        {"RESO=nO\nCOMM=NO\nHAND=no", {{"RESO", L"n"}, {"COMM", L"n"}, {"HAND", L"n"}}},
        {"FILES=n\nSESS=false\nCONN= no", {}}};
    for (const auto& [lines, changes] : rows) {
        Values wanted = {{"SERV", L"s"}, {"USER", L"u"}, {"PASS", L"p"}, {"REFR", L"10"}, {"LIMI", L"7"},
                         {"OUTP", L"console C"}, {"NAME", L"n"}, {"FILE", L"y"}, {"SESS", L"y"}, {"CONN", L"y"},
                         {"RESO", L"y"}, {"COMM", L"y"}, {"HAND", L"y"}};
        for (const auto& [key, value] : changes) wanted[key] = value;
        EXPECT_EQ(settings(kComplete + lines), wanted) << lines;
        EXPECT_EQ(settings(kComplete + lines + "\n"), wanted) << lines;
    }
}

TEST(ConfigFileReader, ReadsLinesOfAnyLength) {
    for (std::size_t length = 1920; length < 2060; ++length) {  // across the reader's buffer, wherever that ends
        const std::string value = std::string(length, 'x') + "\xC3\xA4";
        ASSERT_EQ(settings("USER=" + value + "\n" + kComplete + "PASS=" + value)["PASS"], widen(value)) << length;
    }
    EXPECT_EQ(settings(kComplete + "PASS=" + std::string(100000, 'y'))["PASS"], String(100000, L'y'));
}

TEST(ConfigFileReader, ReportsTheFirstMissingOrEmptySetting) {
    std::string present;
    std::string empty;
    for (const std::string key : kKeys) {
        EXPECT_EQ(failure([&] { settings(present); }), L"ConfigException: missing " + widen(key));
        present = key + "=1\n" + present;
        empty += key + "=\n";
    }
    EXPECT_EQ(failure([&] { settings(empty); }), L"ConfigException: empty SERV");
    EXPECT_EQ(failure([&] { settings(empty + "SERV=a=b"); }), L"ConfigException: empty SERV");
    EXPECT_EQ(failure([&] { settings(empty + "SERV=a"); }), L"ConfigException: empty OUTP");
    std::string binary;
    for (int i = 0; i < 70000; ++i) binary += static_cast<char>(i * 7 + i / 256);
    EXPECT_EQ(failure([&] { settings(binary); }), L"ConfigException: missing SERV");
}

TEST(ConfigFileReader, TellsWhyAFileCannotBeRead) {
    std::ofstream("file") << "";
    std::ofstream("secret") << "";
    ::chmod("secret", 0);
    ::mknod("socket", S_IFSOCK | 0666, 0);
    const auto read = [](const String& path) { return failure([&] { ConfigFileReader(path).readConfiguration(); }); };
    EXPECT_EQ(read(L"/proc/self/mem"), L"IOException: /proc/self/mem: Input/output error");
    becomeNobody();
    EXPECT_EQ(read(L"none"), L"IOException: unreadable none: not found (80070002)");
    EXPECT_EQ(read(L"file/x"), L"IOException: unreadable file/x: not found (80070002)");
    EXPECT_EQ(read(L"secret"), L"IOException: unreadable secret: denied (80070005)");
    EXPECT_EQ(read(L"/"), L"IOException: unreadable /: denied (80070005)");
    EXPECT_EQ(read(L"socket"), concat(L"ResultException: ", kSystemErrorBase + ENXIO));
}
