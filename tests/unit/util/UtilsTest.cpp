// SPDX-License-Identifier: MIT
#include "util/Utils.h"

#include "Support.h"

TEST(Utils, ParsesNumbersStrictly) {
    // The number; "-" for none, ">" for one that is refused as too large. As 32 and 64 bits, and as 32 bits unsigned.
    // clang-format off
    const std::tuple<String, String> rows[] = {
        {L" \t42\r\n", L"42 42 42"}, {L"0", L"0 0 0"}, {L"+7", L"7 7 7"}, {L"007", L"7 7 7"}, {L"-7", L"-7 -7 -"},
        {L"2147483647", L"2147483647 2147483647 2147483647"}, {L"2147483648", L"- 2147483648 2147483648"},
        {L"-2147483648", L"-2147483648 -2147483648 -"}, {L"-2147483649", L"- -2147483649 -"},
        {L"4294967295", L"- 4294967295 4294967295"}, {L"4294967296", L"- 4294967296 >"},
        {L"9223372036854775807", L"- 9223372036854775807 >"}, {L"9223372036854775808", L"- - >"},
        {L"-9223372036854775808", L"- -9223372036854775808 -"}, {L"18446744073709551616", L"- - >"},
        {L"", L"- - -"}, {L" ", L"- - -"}, {L"x", L"- - -"}, {L"1x", L"- - -"}, {L"1 2", L"- - -"}, {L"00", L"- - -"},
        {L"-0", L"- - -"}, {L"+0", L"- - -"}, {L"+-1", L"- - -"}, {L"--1", L"- - -"}, {L"0x1", L"- - -"},
        {L"1.0", L"- - -"}, {L"\uFF11", L"- - -"}, {L"99999999999999999999x", L"- - -"}};
    // clang-format on
    const auto parsed = [](auto parse, const String& text) {
        String result;
        const String failed = failure([&] { result = decimal(parse(text)); });
        if (failed == L"NumberFormatException: 0") return String(L"-");
        return failed == L"QRIException: 7006: overflow" ? L">" : result;
    };
    for (const auto& [text, numbers] : rows) {
        EXPECT_EQ(concat(parsed(Utils::parseInt, text), L" ", parsed(Utils::parseLong, text), L" ",
                         parsed(Utils::parseUint32, text)), numbers) << text;
    }
}

TEST(Utils, WritesUptimes) {
    const std::pair<long, const wchar_t*> rows[] = {
        {0, L"0 day  00:00:00"}, {59, L"0 day  00:00:59"}, {35999, L"0 day  09:59:59"}, {36000, L"0 day  10:00:00"},
        {90061, L"1 day  01:01:01"}, {172799, L"1 day  23:59:59"}, {172800, L"2 days  00:00:00"},
        {200000, L"2 days  07:33:20"}};
    for (const auto& [seconds, text] : rows) EXPECT_EQ(Utils::convertTimeInSecs(seconds), text) << seconds;
}

TEST(Utils, ChangesTextsInPlace) {
    void (*const pad)(String&) = Utils::formatEngVerString;
    void (*const quote)(String&) = [](String& text) { Utils::addBackslashChars(text, L'"'); };
    void (*const slash)(String&) = [](String& text) { Utils::addBackslashChars(text, L'\\'); };
    const std::tuple<void (*)(String&), String, String> rows[] = {
        {pad, L"9.5.1.0", L"09.05.001.0"}, {pad, L"16.11.12", L"16.11.012"}, {pad, L"16.11.123.4.5", L"16.11.123.4.5"},
        {pad, L"123.456.7890", L"123.456.7890"}, {pad, L"7", L"07"}, {pad, L"", L""}, {pad, L"..1.", L"..001."},
        {quote, LR"("x"y"z")", LR"(\"x\"y\"z")"}, {quote, L"plain", L"plain"}, {quote, L"\"", L"\\\""},
        {slash, LR"(\\\)", LR"(\\\\\)"}, {slash, LR"(a\b\)", LR"(a\\b\)"}, {Utils::removeTabChars, L"\t\ta\t b\t", L"a b"}};
    for (const auto& [change, text, result] : rows) {
        String changed = text;
        change(changed);
        EXPECT_EQ(changed, result) << text;
    }
}

TEST(Utils, CreatesTheDirectoriesOfAFile) {
    std::ofstream("file") << "";
    std::filesystem::create_directory("open");
    std::filesystem::permissions("open", std::filesystem::perms::all);
    becomeNobody();
    const std::string here = std::filesystem::current_path();
    const std::tuple<std::string, ResultCode, const wchar_t*> rows[] = {
        {"log", kSuccess, L"."}, {"", kSuccess, L"."}, {"/log", kSuccess, L"."}, {"open/a//b/log", kSuccess, L"open/a/b"},
        {here + "/open/c/d/", kSuccess, L"open/c"}, {"open/c/../e/./f/log", kSuccess, L"open/e/f"},
        {"file/a/log", kFileNotFound, L"."}, {"refused/log", kAccessDenied, L"."}};
    for (const auto& [path, code, created] : rows) {
        EXPECT_EQ(Utils::createDirs(widen(path)), code) << path;
        EXPECT_TRUE(Utils::dirExist(created)) << path;
        EXPECT_FALSE(Utils::fileExist(L"log") || Utils::fileExist(L"open/c/d") || Utils::dirExist(L"file")) << path;
    }
}

TEST(Utils, ConvertsLists) {
    const char* const words[] = {"1", "-2", "\xFF"};
    EXPECT_EQ(Utils::convertStringListToString(Utils::convertToStringList(3, words).get()), L"1-2\xDCFF");
    const auto list = Utils::convertToStringList(2, words);
    EXPECT_EQ(Utils::createDelimitedStr(list.get(), ", "), L"1, -2");
    const auto numbers = Utils::convertStringListToIntArray(list.get());
    EXPECT_EQ(numbers[0] * 10 + numbers[1], 8);
}
