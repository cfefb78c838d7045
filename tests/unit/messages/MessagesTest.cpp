// SPDX-License-Identifier: MIT
#include <map>
#include <regex>

#include "Support.h"
#include "foundation/StringBundle.h"
#include "messages/CMSGStrings.h"
#include "messages/MessageHelper.h"

TEST(MessageFormat, DoesWhatPrintfWould) {
    const std::string limit(kMaxMessageBytes, ' ');
    const std::tuple<std::string, std::vector<MessageArgument>, std::string> rows[] = {
        {"%s: %d%%", {"a", -1}, "a: -1%"},
        {"%08X %x %o %u %i %hhd", {-1, 255, 8, 3, 4, 257}, "FFFFFFFF ff 10 3 4 1"},
        {"%2$s %1$s %2$.1s %2$-4s|", {"a", "bc"}, "bc a b bc  |"},
        {"%d", {1, "unused"}, "1"},
        {"%9999d", {1}, limit},
        {"%s%s", {limit.c_str(), "cut"}, limit},
        {std::string("a\0%n", 4), {}, "a"}};
    for (const auto& [text, arguments, result] : rows) {
        EXPECT_EQ(formatMessage(text, arguments), result) << text;
        EXPECT_TRUE(text.find('\0') != std::string::npos || agrees(text, arguments)) << text;
    }
    EXPECT_EQ(formatMessage(limit + "%", {}), limit);
}

TEST(MessageFormat, GivesBackATextThatCannotBeTrusted) {
    // To be formatted with a number, a text and a number.
    for (const char* text :
         {"%d %s %d %d", "%s", "%d %d", "%1$s", "%2$d", "%4$d", "%0$d", "%99999999999999999999$d", "%1$d %s", "%d %1$d",
          "%n", "%hn", "%1$n", "%p", "%f", "%m", "%c%n", "%S", "%C", "%2$ls", "%2$hs", "%ld", "%lld", "%zd", "%hhhd",
          "%*d", "%.*d", "%*1$d", "%2147483648d", "%.2147483648d", "%      d", "100%", "%d %", "% ", "%5%", "%1$", "%5.",
          "%h", "%-"}) {
        EXPECT_EQ(formatMessage(text, {1, "a", 2}), text);
        EXPECT_FALSE(agrees(text, {1, "a", 2})) << text;
    }
}

TEST(MessageHelper, CutsATextBeforeItIsFormatted) {
    const std::string most(1021, 'a');
    std::ofstream("T.properties") << "P_FITS=" << most << "%s\nP_CUT=" << most << "b%s\nP_HALF=" << most << "b\xC3\xA4\n";
    ::setenv("VEXO_BUNDLE_PATH", ".", 1);
    const MessageHelper messages("T", "P_");
    EXPECT_EQ(messages.getResStr("FITS", "x"), widen(most) + L"x");
    EXPECT_EQ(messages.getResStr("CUT", "x"), widen(most) + L"b%");
    EXPECT_EQ(messages.getResStr("HALF"), widen(most) + L"b");
    EXPECT_EQ(messages.getResStr("NONE", 1), L"P_NONE");
    EXPECT_EQ(MessageHelper("None", "").getResStr("FITS", 1), L"The resource bundle is not installed");
}

TEST(CMSGStrings, PreparesDialogsAndKeys) {
    String title[3];
    String message[3];
    CMSGStrings::PrepareDialog(L"VEXO", L"VEXO_ACCESS_ERROR", L"VEXO_NONE", title[0], message[0]);
    CMSGStrings::PrepareDialog(L"LK_MSG_P_E_3", L"LK_MSG_P_E_7006", title[1], message[1]);
    CMSGStrings::PrepareDialog(L"None", L"A", L"B", title[2], message[2]);
    EXPECT_EQ(concat(title[0], L"|", message[0], L"|", title[1], L"|", message[1]), L"denied|VEXO_NONE|three|overflow");
    EXPECT_EQ(concat(title[2], L"|", message[2]),
              L"XRMSG Resource Bundle Loading Error|The XRMSG resource bundle is not installed");
    String key[4];
    CMSGStrings::MakeResString(L"P-", L"\t-5-6 \r\n", key[0]);
    CMSGStrings::MakeResString(L" -5 ", key[1]);
    CMSGStrings::MakeResString(L"P_", -7, key[2]);
    CMSGStrings::MakeResString(7008, key[3]);
    EXPECT_EQ(concat(key[0], L" ", key[1], L" ", key[2], L" ", key[3]), L"P-N5N6 LK_MSG_N5 P_N7 LK_MSG_7008");
}

TEST(Bundles, AgreeInEveryLanguageWithWhatTheProgramPasses) {
    // Per list of arguments, the keys: s is a text, d a number.
    const std::pair<std::string, const char*> table[] = {
        {"", "VEXO_COPYRIGHT VEXO_USAGE VEXO_MSG_EXIT VEXO_ERR_INTERACTIVE_INPUT VEXO_INFO_EXIT VEXO_INFO_EXIT_REFRESH "
             "VEXO_HDR_USR_CONFIG VEXO_HDR_END_CFG VEXO_FILE_NOT_FOUND_ERROR VEXO_ACCESS_ERROR KORA_ACCESS_ERROR "
             "KORA_FILE_NOT_FOUND_ERROR LK_MSG_P_E_7006 LK_MSG_P_E_7008 LK_MSG_P_E_7010 LK_MSG_P_E_7015"},
        {"s", "VEXO_NAME VEXO_ERR_MISSING_TAG VEXO_ERR_MISSING_TAG_VALUE"},
        {"d", "VEXO_FATAL_ERROR VEXO_THREAD_FATAL_ERROR VEXO_INFO_EXIT_W_LIMIT"},
        {"ss", "VEXO_ERR_ENGINE_LIBRARY VEXO_ERR_ENGINE_FUNCTIONS"},
        {"sd", "VEXO_ERR_VALUE_TOO_LONG"},
        {"ssd", "VEXO_ERR_READ_FILE VEXO_ERR_CREATE_FILE KORA_ERR_CREATE_FILE"}};
    std::map<std::string, std::vector<MessageArgument>> arguments;
    for (const auto& [types, keys] : table) {
        std::istringstream words(keys);
        for (std::string key; words >> key;) {
            for (const char type : types) arguments[key].push_back(type == 's' ? MessageArgument("") : MessageArgument(0));
            if (types.empty()) arguments[key] = {};
        }
    }
    std::map<std::string, int> originals;
    for (const auto& file : std::filesystem::directory_iterator(VEXO_SHIPPED_BUNDLES)) {
        if (file.path().extension() != ".properties") continue;
        const std::string content = contents(file.path());
        std::istringstream lines(content);
        for (std::string line; std::getline(lines, line);) {
            std::smatch parts;
            if (line.empty() || line[0] == '#' || line[0] == ' ') continue;  // comments and continued texts
            ASSERT_TRUE(std::regex_match(line, parts, std::regex("([A-Z0-9_]+)=.*"))) << file << line;
            const std::string key = parts[1];
            const bool status = std::regex_match(key, std::regex("(LK_MSG_P_E|KORA)_[0-9]+"));
            ASSERT_TRUE(status || arguments.count(key) == 1) << file << line;
            const String text = findProperty(content, widen(key)).value_or(L"");
            EXPECT_TRUE(agrees(narrow(text), arguments[key]) && narrow(text).size() < 1024) << file << line;
            EXPECT_EQ(text.find(L'\uFFFD'), String::npos) << file << line;
            // These two stand in JSON as they are.
            const bool json = key == "VEXO_NAME" || key == "VEXO_COPYRIGHT";
            EXPECT_TRUE(!json || text.find_first_of(L"\"\\\t\n\r") == String::npos) << file << line;
            if (file.path().stem().native().find('_') == std::string::npos) ++originals[key];
        }
    }
    for (const auto& [key, types] : arguments) EXPECT_EQ(originals[key], 1) << key;
}
