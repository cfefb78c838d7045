// SPDX-License-Identifier: MIT
#include "config/ConfigFileReader.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <map>

#include "Support.h"

namespace vexo {
namespace {

using Values = std::map<std::string, String>;

const char* const kKeys[] = {"SERV", "USER", "PASS", "REFR", "LIMI", "OUTP", "NAME",
                             "FILE", "SESS", "CONN", "RESO", "COMM", "HAND"};
const char kComplete[] =
    "SERVER=s\nUSER=u\nPASS=p\nREFRESH=10\nLIMIT=7\nOUTPUT=console\nNAME=n\n"
    "FILES=x\nSESSIONS=x\nCONN=x\nRESOURCES=\nCOMM=yes\nHANDLES=NOT\n";

// What is read from `content`, by the keys.
Values read(const std::string& content) {
    writeFile("vexo.cfg", content);
    const auto data = ConfigFileReader(L"vexo.cfg").readConfiguration();
    const auto word = [](bool shown) { return shown ? L"yes" : L"no"; };
    const String output = data->outputType + (data->consoleOutput ? L" C" : L"") + (data->fileOutput ? L" F" : L"");
    const String values[] = {data->server,
                             data->userName,
                             data->password,
                             decimal(data->refreshRate),
                             decimal(data->refreshLimit),
                             output,
                             data->logFileName,
                             word(data->showFiles),
                             word(data->showSessions),
                             word(data->showConnections),
                             word(data->showResources),
                             word(data->showCommunications),
                             word(data->showHandles)};
    Values byKey;
    for (std::size_t i = 0; i < std::size(kKeys); ++i)
        byKey[kKeys[i]] = values[i];
    return byKey;
}

TEST(ConfigFileReader, FollowsTheRulesOfLinesAndSettings) {
    const struct {
        std::string line;
        Values changes;
    } rows[] = {
        {"", {}},
        {"#SERVER=x\n// SERVER=x\n \t //SERVER=x\n\n \t\r\nSERVER\n===\n=\nSER=x", {}},
        {"service-x=1", {{"SERV", L"1"}}},
        {"SERVER=1\nserv=2", {{"SERV", L"2"}}},
        {"\t SERV = x y \t\r", {{"SERV", L" x y"}}},
        {"=USER==x=", {{"USER", L"x"}}},
        {"USER=x=y", {{"USER", L""}}},
        {"USER=", {{"USER", L""}}},
        {"PASS=\xC3\xA4\xFF//", {{"PASS", L"\u00E4\xDCFF//"}}},
        {"REFRESH=1", {{"REFR", L"5"}}},
        {"REFRESH=4", {{"REFR", L"5"}}},
        {"REFRESH = 6 ", {{"REFR", L"6"}}},
        {"REFRESH=2147483647", {{"REFR", L"2147483647"}}},
        {"REFRESH=2147483648", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"REFRESH=abc", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"REFRESH=-7", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"REFRESH=", {{"REFR", L"0"}, {"LIMI", L"0"}}},
        {"LIMIT=0", {{"LIMI", L"0"}}},
        {"LIMIT=-1", {{"LIMI", L"0"}}},
        {"LIMIT=1x", {{"LIMI", L"0"}}},
        {"LIMIT=1", {{"LIMI", L"1"}}},
        {"OUTPUT=consul", {{"OUTP", L"consul C"}}},
        {"OUTPUT=Both", {{"OUTP", L"Both C F"}}},
        {"OUTPUT=con", {{"OUTP", L"con F"}}},
        {"OUTPUT= both", {{"OUTP", L" both F"}}},
        {"NAME=", {{"NAME", L"monitor.log"}}},
        {"NAME=a/b c", {{"NAME", L"a/b c"}}},
        {"FILES=No\nSESS=no \nCONN=no", {{"FILE", L"no"}, {"SESS", L"no"}, {"CONN", L"no"}}},
        {"RESO=nO\nCOMM=NO\nHAND=no", {{"RESO", L"no"}, {"COMM", L"no"}, {"HAND", L"no"}}},
        {"FILES=n\nSESS=false\nCONN= no", {}},
    };
    const Values complete = {{"SERV", L"s"},   {"USER", L"u"},         {"PASS", L"p"},   {"REFR", L"10"},
                             {"LIMI", L"7"},   {"OUTP", L"console C"}, {"NAME", L"n"},   {"FILE", L"yes"},
                             {"SESS", L"yes"}, {"CONN", L"yes"},       {"RESO", L"yes"}, {"COMM", L"yes"},
                             {"HAND", L"yes"}};
    for (const auto& row : rows) {
        Values expected = complete;
        for (const auto& [key, value] : row.changes)
            expected[key] = value;
        EXPECT_EQ(read(kComplete + row.line), expected) << row.line;
        EXPECT_EQ(read(kComplete + row.line + "\n"), expected) << row.line;
    }
}

TEST(ConfigFileReader, ReadsLinesOfAnyLength) {
    for (std::size_t length = 1900; length < 2100; ++length) {
        const std::string value = std::string(length, 'x') + "\xC3\xA4";
        ASSERT_EQ(read("USER=" + value + "\n" + kComplete + "PASS=" + value)["PASS"], widen(value)) << length;
    }
    const std::string longest = "PASS=" + std::string((1 << 20) - 5, 'y');
    EXPECT_EQ(read(kComplete + longest + "\n")["PASS"].size(), longest.size() - 5);
    EXPECT_EQ(failure([&] { read("\n" + longest + "y\n" + kComplete); }),
              L"ConfigException: vexo.cfg line 2 over 1048576");
    EXPECT_EQ(failure([] { ConfigFileReader(L"/dev/zero").readConfiguration(); }),
              L"ConfigException: /dev/zero line 1 over 1048576");
}

TEST(ConfigFileReader, RefusesNulBytesAndSkipsAByteOrderMark) {
    const std::string nul(1, '\0');
    const std::string mark = "\xEF\xBB\xBF";
    EXPECT_EQ(failure([&] { read(kComplete + ("\nPASSWORD=a" + nul + "b")); }),
              L"ConfigException: NUL in PASS line 15");
    // What counts for nothing may hold anything: comments, other settings, and values that a later line replaces.
    EXPECT_EQ(read("//" + nul + "\nOTHER=" + nul + "\nSERV=" + nul + "\n" + kComplete)["SERV"], L"s");
    EXPECT_EQ(read(mark + kComplete)["SERV"], L"s");
    EXPECT_EQ(failure([&] { read("\n" + mark + kComplete); }), L"ConfigException: missing SERV");
}

TEST(ConfigFileReader, ReportsTheFirstMissingOrEmptySetting) {
    std::string present;
    for (const char* key : kKeys) {
        EXPECT_EQ(failure([&] { read(present); }), concat(L"ConfigException: missing ", widen(key)));
        present = std::string(key) + "=1\n" + present;
    }
    std::string empty;
    for (const char* key : kKeys)
        empty += std::string(key) + "=\n";
    EXPECT_EQ(failure([&] { read(empty); }), L"ConfigException: empty SERV");
    EXPECT_EQ(failure([&] { read(empty + "SERV=a=b"); }), L"ConfigException: empty SERV");
    EXPECT_EQ(failure([&] { read(empty + "SERV=a"); }), L"ConfigException: empty OUTP");
}

TEST(ConfigFileReader, TellsWhyAFileCannotBeRead) {
    writeFile("file", "");
    std::filesystem::create_symlink("loop", "loop");
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    const sockaddr_un address{AF_UNIX, "socket"};
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const std::pair<String, String> rows[] = {
        {L"", L"IOException: unreadable : not found (80070002)"},
        {L"file/x", L"IOException: unreadable file/x: not found (80070002)"},
        {concat(L"file/", String(3000, L'x')),
         concat(L"IOException: unreadable file/", String(kMaxMessageBytes - 16, L'x'))},
        {L"loop", concat(L"ResultException: ", kSystemErrorBase + ELOOP)},
        {L"socket", concat(L"ResultException: ", kSystemErrorBase + ENXIO)},
        {L"/proc/self/mem", L"IOException: unreadable /proc/self/mem: Input/output error (A0040005)"},
    };
    for (const auto& [path, failed] : rows) {
        EXPECT_EQ(failure([name = path] { ConfigFileReader(name).readConfiguration(); }), failed) << path;
    }
}

}  // namespace
}  // namespace vexo
