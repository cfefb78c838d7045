// SPDX-License-Identifier: MIT
#include <clocale>
#include <random>
#include <sstream>

#include "Support.h"

// Locales of these encodings, made in the current directory, whatever is installed. By hand, with those of all locales:
//   VEXO_TEST_CHARSETS=$(awk '{ print $2 }' /usr/share/i18n/SUPPORTED | sort -u) unit_tests --gtest_filter='Encoding.*'
std::vector<std::string> makeLocales() {
    const char* const given = std::getenv("VEXO_TEST_CHARSETS");
    std::istringstream charsets(given ? given : "BIG5-HKSCS CP1255 EUC-JP ISO-8859-1 SHIFT_JIS TCVN5712-1");
    writeFile("source", "LC_CTYPE\nEND LC_CTYPE\n");
    ::setenv("LOCPATH", ".", 1);
    std::vector<std::string> locales;
    for (std::string charset; charsets >> charset;) {
        locales.push_back("made." + charset);
        // Complains with status 1 about the other categories, which nobody needs here.
        EXPECT_NE(std::system(("localedef -c -i source -f " + charset + " ./made." + charset + " 2>err").c_str()), -1);
    }
    return locales;
}

// Every single byte and every pair, then random ones, which meet in every way.
std::string bytesOf(unsigned int round, std::mt19937& random) {
    static const std::string s_difficult("a\x7F\x80\xA4\xB2\xC0\xC3\xE0\xE2\xED\xEF\xF0\xF4\xFF\0", 15);
    std::string bytes{static_cast<char>(round), static_cast<char>(round >> 8U)};
    if (round < 0x100) bytes.pop_back();
    if (round < 0x10000) return bytes;
    bytes.resize(random() % 40);
    for (char& byte : bytes)
        byte = round % 2 == 0 ? s_difficult[random() % s_difficult.size()] : static_cast<char>(random());
    return bytes;
}

TEST(Encoding, LosesNoBytesInAnyLocale) {
    std::mt19937 random(1);
    std::vector<std::string> locales = makeLocales();
    locales.insert(locales.end(), {"C.UTF-8", "C"});
    for (const std::string& locale : locales) {
        ASSERT_TRUE(std::setlocale(LC_CTYPE, locale.c_str())) << locale << ": " << contents("err");
        for (unsigned int round = 0; round < 200000; ++round) {
            const std::string bytes = bytesOf(round, random);
            ASSERT_EQ(narrow(widen(bytes)), bytes) << locale << " " << testing::PrintToString(bytes);
        }
    }
    ::unsetenv("LOCPATH");
    EXPECT_EQ(narrow(L"a\u20ACz"), "a?z");
    EXPECT_EQ(narrowUtf8(L"a\u20ACz"), "a\xE2\x82\xACz");
}

TEST(Encoding, DecodesTextAndKeepsWhatIsNone) {
    for (const auto& [bytes, text] : {std::pair("\xC3\xA4\xF0\x9F\x98\x80", L"\u00E4\U0001F600"),
                                      {"a\xE2\x82", L"a\xDCE2\xDC82"},
                                      {"\xC0\x80\xF8", L"\xDCC0\xDC80\xDCF8"},
                                      {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80"},
                                      // An encoded surrogate must not pass for a kept byte.
                                      {"\xED\xB2\x80", L"\xDCED\xDCB2\xDC80"}}) {
        EXPECT_EQ(widen(bytes), text);
        EXPECT_EQ(widenUtf8(bytes), text);
        EXPECT_EQ(narrowUtf8(text), bytes);
    }
    EXPECT_EQ(narrow(L"a\xD800z"), "a?z");
}

TEST(Encoding, ConvertsOtherCharactersAnywhereInALine) {
    for (const std::string other : {"\xC3\xA4", "\xF0\x9F\x98\x80", "\xFF"}) {
        for (std::size_t place = 0; place < std::size_t{50} * 50; ++place) {
            const std::size_t at = std::min(place / 50, place % 50);
            const std::string bytes = std::string(place % 50, 'x').insert(at, other);
            ASSERT_EQ(narrow(widen(bytes)), bytes) << place;
            const std::size_t fitting = bytes.size() - (at == place % 50 ? other.size() : 1);
            ASSERT_EQ(narrowUpTo(widen(bytes), bytes.size() - 1), bytes.substr(0, fitting)) << place;
        }
    }
}

TEST(Encoding, TakesUtf8WhereTheEnvironmentNamesNoOther) {
    for (const char* name : {"C", "POSIX", "xx_XX.UTF-8", "C.UTF-8", ""}) {
        ::setenv("LC_ALL", name, 1);
        std::setlocale(LC_CTYPE, "C");
        useEnvironmentEncoding();
        EXPECT_EQ(widen("\xC3\xA4"), L"\u00E4") << name;
    }
}
