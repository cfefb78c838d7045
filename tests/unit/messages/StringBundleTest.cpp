// SPDX-License-Identifier: MIT
#include "messages/StringBundle.h"

#include <clocale>

#include "Support.h"

TEST(StringBundle, ReadsPropertiesAsJavaWritesThem) {
    const String none = L"none";
    // clang-format off
    const std::tuple<std::string, StringView, String> rows[] = {
        {"A=b = c ", L"A", L"b = c "}, {" \t A \t:\tb", L"A", L"b"}, {"A b", L"A", L"b"}, {"A\nB", L"A", L""},
        {"\xEF\xBB\xBF" "A=b\rB=c\r\n\r\nC=d", L"A", L"b"}, {"A=b\rB=c\r\n\r\nC=d", L"C", L"d"},
        {"A=1\nAB=2\nA=3\n", L"A", L"3"}, {"#A=1\n  !A=2\n# so ends a comment \\\nA=3\n#A=4", L"A", L"3"},
        {"#A=1\nAA=1", L"A", none}, {"", L"A", none}, {"A=b\\\n   #c\\\r\n\t=d\nB=e", L"A", L"b#c=d"},
        {"A=b\\\n\nB=e", L"B", L"e"}, {"A=b\\\\\nB=c", L"B", L"c"}, {"A=b\\\\\\\nB=c", L"A", L"b\\B=c"},
        {"A\\=\\:\\ \\u0042=c", L"A=: B", L"c"}, {R"(A=\t\n\r\f\\\q\ x)", L"A", L"\t\n\r\f\\q x"},
        {R"(A=\u00e4\u00E4\uD83D\uDE00)", L"A", L"\u00E4\u00E4\U0001F600"}, {R"(A=\u12 \u00g0)", L"A", L"u12 u00g0"},
        {R"(A=\uD83D\u0041 \uDE00 \uD83Dx \uD83D)", L"A", L"\uFFFD" L"A \uFFFD \uFFFDx \uFFFD"},
        {"A=\xC3\xA4\xF0\x9F\x98\x80", L"A", L"\u00E4\U0001F600"},
        {"A=\xC3 \xE2\x82 \xFF \xA4 \xC3", L"A", L"\uFFFD \uFFFD\uFFFD \uFFFD \uFFFD \uFFFD"},
        {"A=\xE0\x80\xAF \xF4\x90\x80\x80", L"A", L"\uFFFD\uFFFD\uFFFD \uFFFD\uFFFD\uFFFD\uFFFD"},
        {"A=\xED\xB2\x80 \xC1\xBF", L"A", L"\uFFFD\uFFFD\uFFFD \uFFFD\uFFFD"}};
    // clang-format on
    std::setlocale(LC_CTYPE, "C");  // bundles are UTF-8 whatever the environment's encoding is
    for (const auto& [content, key, text] : rows)
        EXPECT_EQ(findProperty(content, key).value_or(none), text) << content;
}

TEST(StringBundle, PrefersTheLanguageThenTheDirectory) {
    std::filesystem::create_directories("1/T_fr.properties");  // cannot be read: the next one serves
    std::filesystem::create_directory("2");
    std::filesystem::create_symlink("/dev/zero", "1/T_de_CH.properties");  // has no end: the next one serves
    for (const std::string path : {"1/T", "1/T_de", "2/T", "2/T_de_CH", "2/T_fr"}) {
        std::ofstream(path + ".properties") << "K=" << path << "\n" << path << "=own";
    }
    ::setenv("VEXO_BUNDLE_PATH", ":none:1::2", 1);
    const std::tuple<const char*, const char*, const char*, StringView> rows[] = {
        {"", "", "de_CH.UTF-8", L"2/T_de_CH"}, {"", "", "de_AT@euro", L"1/T_de"},
        {"", "fr_FR", "de_DE", L"2/T_fr"},     {"C", "fr_FR", "de_DE", L"1/T"},
        {"it_IT", "fr_FR", "de_DE", L"1/T"},   {"POSIX", "", "", L"1/T"},
        {"", "", "/../1/T_de", L"1/T"},        {"", "", "", L"1/T"}};
    for (const auto& [all, messages, lang, text] : rows) {
        ::setenv("LC_ALL", all, 1);
        ::setenv("LC_MESSAGES", messages, 1);
        ::setenv("LANG", lang, 1);
        const auto bundle = StringBundle::open(L"T");
        EXPECT_EQ(bundle->find(L"K"), text) << all << messages << lang;
        EXPECT_EQ(bundle->find(L"2/T"), L"own");  // what a translation lacks comes from a file behind it
        EXPECT_EQ(bundle->find(L"none"), std::nullopt);
    }
    EXPECT_FALSE(StringBundle::open(L"none"));
}
