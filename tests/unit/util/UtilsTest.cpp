// SPDX-License-Identifier: MIT
#include "util/Utils.h"

#include <atomic>
#include <ctime>
#include <thread>

#include "Support.h"

namespace vexo {
namespace {

// The number, "-" for what is none, or the status of what is too large.
template <typename Number>
String parsed(Number (*parse)(StringView), const String& text) {
    String result;
    const String failed = failure([&] { result = decimal(parse(text)); });
    return failed == L"nothing" ? result : failed == L"NumberFormatException: 0" ? L"-" : failed;
}

TEST(Utils, ParsesNumbersStrictly) {
    const String overflow = L"QRIException: 7006: overflow";
    // as int, as long, as uint32
    const std::tuple<String, String, String, String> rows[] = {
        {L" \t42\r\n", L"42", L"42", L"42"},
        {L"0", L"0", L"0", L"0"},
        {L"+7", L"7", L"7", L"7"},
        {L"007", L"7", L"7", L"7"},
        {L"-7", L"-7", L"-7", L"-"},
        {L"2147483647", L"2147483647", L"2147483647", L"2147483647"},
        {L"2147483648", L"-", L"2147483648", L"2147483648"},
        {L"-2147483648", L"-2147483648", L"-2147483648", L"-"},
        {L"-2147483649", L"-", L"-2147483649", L"-"},
        {L"4294967295", L"-", L"4294967295", L"4294967295"},
        {L"4294967296", L"-", L"4294967296", overflow},
        {L"9223372036854775807", L"-", L"9223372036854775807", overflow},
        {L"9223372036854775808", L"-", L"-", overflow},
        {L"18446744073709551616", L"-", L"-", overflow},
        {L"-9223372036854775808", L"-", L"-9223372036854775808", L"-"},
    };
    for (const auto& [text, asInt, asLong, asUint32] : rows) {
        EXPECT_EQ(parsed(Utils::parseInt, text), asInt) << text;
        EXPECT_EQ(parsed(Utils::parseLong, text), asLong) << text;
        EXPECT_EQ(parsed(Utils::parseUint32, text), asUint32) << text;
    }
    for (const wchar_t* text : {L"", L" ", L"x", L"1x", L"1 2", L"00", L"-0", L"+0", L"+-1", L"--1", L"1.0", L"0x1",
                                L"1e1", L"\uFF11", L"99999999999999999999x"}) {
        EXPECT_EQ(parsed(Utils::parseInt, text), L"-") << text;
        EXPECT_EQ(parsed(Utils::parseLong, text), L"-") << text;
        EXPECT_EQ(parsed(Utils::parseUint32, text), L"-") << text;
    }
}

TEST(Utils, WritesUptimes) {
    for (const auto& [seconds, text] : {std::pair(35999, L"0 day  09:59:59"),
                                        {36000, L"0 day  10:00:00"},
                                        {90061, L"1 day  01:01:01"},
                                        {172799, L"1 day  23:59:59"},
                                        {172800, L"2 days  00:00:00"}}) {
        EXPECT_EQ(Utils::convertTimeInSecs(seconds), text) << seconds;
    }
}

TEST(Utils, TellsTheLocalTime) {
    ::setenv("TZ", "XST-5:30", 1);
    ::tzset();
    EXPECT_EQ(Utils::getTime("%z %Z"), L"+0530 XST");
    EXPECT_EQ(Utils::getTime("%FT%T%z").size(), 24U);
    ::unsetenv("TZ");
    ::tzset();
}

TEST(Utils, ChangesTextsInPlace) {
    const auto quotes = [](String& text) { Utils::addBackslashChars(text, L'"'); };
    const auto backslashes = [](String& text) { Utils::addBackslashChars(text, L'\\'); };
    const std::tuple<void (*)(String&), String, String> rows[] = {
        {Utils::formatEngVerString, L"9.5.1.0", L"09.05.001.0"},
        {Utils::formatEngVerString, L"16.11.6.0", L"16.11.006.0"},
        {Utils::formatEngVerString, L"16.11.12", L"16.11.012"},
        {Utils::formatEngVerString, L"16.11.123.4.5", L"16.11.123.4.5"},
        {Utils::formatEngVerString, L"123.456.7890", L"123.456.7890"},
        {Utils::formatEngVerString, L"7", L"07"},
        {Utils::formatEngVerString, L"", L""},
        {Utils::formatEngVerString, L"..1.", L"..001."},
        {quotes, L"\"x\"y\"z\"", L"\\\"x\\\"y\\\"z\""},
        {quotes, L"plain", L"plain"},
        {backslashes, L"\\\\\\", L"\\\\\\\\\\"},
        {backslashes, L"a\\b\\", L"a\\\\b\\"},
        {Utils::removeTabChars, L"\t\ta\t b\t", L"a b"},
    };
    for (const auto& [change, before, after] : rows) {
        String text = before;
        change(text);
        EXPECT_EQ(text, after) << before;
    }
}

TEST(Utils, CreatesTheDirectoriesOfAFile) {
    writeFile("file", "");
    std::filesystem::create_directory("open");
    std::filesystem::permissions(".", std::filesystem::perms(0555));
    keepToPermissions();
    const std::tuple<std::string, ResultCode, const char*> rows[] = {
        {"log.txt", kSuccess, nullptr},
        {"", kSuccess, nullptr},
        {"/log.txt", kSuccess, nullptr},
        {"open/a//b/log.txt", kSuccess, "open/a/b"},
        {std::filesystem::current_path().string() + "/open/c/d/", kSuccess, "open/c"},
        {"open/c/../e/./f/log.txt", kSuccess, "open/e/f"},
        {"file/a/log.txt", kFileNotFound, nullptr},
        {"refused/log.txt", kAccessDenied, nullptr},
    };
    for (const auto& [path, code, created] : rows) {
        EXPECT_EQ(Utils::createDirs(widen(path)), code) << path;
        EXPECT_TRUE(!created || Utils::dirExist(widen(created))) << path;
        EXPECT_FALSE(Utils::fileExist(L"log.txt") || Utils::fileExist(L"open/c/d") || Utils::fileExist(L"refused"));
    }
    EXPECT_TRUE(Utils::fileExist(L"file") && !Utils::dirExist(L"file") && Utils::fileExist(L"open"));
}

TEST(Utils, CreatesDirectoriesThatOthersCreateMeanwhile) {
    std::vector<std::thread> others;
    others.reserve(4);
    std::atomic<int> refused{0};
    for (int other = 0; other < 4; ++other) {
        others.emplace_back([&refused] {
            for (int round = 0; round < 300; ++round)
                refused += Utils::createDirs(concat(L"race", round, L"/a/b/log.txt")) != kSuccess;
        });
    }
    for (std::thread& other : others)
        other.join();
    EXPECT_EQ(refused, 0);
}

TEST(Utils, ConvertsLists) {
    const char* const words[] = {"1", "-2", "\xFF"};
    EXPECT_EQ(Utils::convertStringListToString(Utils::convertToStringList(3, words).get()), L"1-2\xDCFF");
    const auto list = Utils::convertToStringList(2, words);
    EXPECT_EQ(Utils::createDelimitedStr(list.get(), ", "), L"1, -2");
    const auto numbers = Utils::convertStringListToIntArray(list.get());
    EXPECT_EQ(numbers[0] + numbers[1], -1);
    EXPECT_EQ(Utils::createDelimitedStr(Utils::convertToStringList(0, words).get(), ", "), L"");
}

}  // namespace
}  // namespace vexo
