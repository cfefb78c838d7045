// SPDX-License-Identifier: MIT
#include <map>
#include <regex>

#include "Support.h"
#include "messages/CMSGStrings.h"
#include "messages/MessageHelper.h"
#include "messages/StringBundle.h"

namespace vexo {
namespace {

TEST(MessageFormat, DoesWhatPrintfWouldButTrustsNoText) {
    const std::string limit(kMaxMessageBytes, ' ');
    const struct {
        std::string text;
        std::vector<MessageArgument> arguments;
        std::optional<std::string> result;  // without one, the text is refused and stands for itself
    } rows[] = {
        {"%s: %d%%", {"a", -1}, "a: -1%"},
        {"%08X %x %o %u %i %hhd", {-1, 255, 8, 3, 4, 257}, "FFFFFFFF ff 10 3 4 1"},
        {"%2$s %1$s %2$.1s %2$-4s|", {"a", "bc"}, "bc a b bc  |"},
        {"%d", {1, "unused"}, "1"},
        {"%ld %li %lld %jd %zd %td %hd", {-1, -2, -3, -4, -5, -6, -7}, "-1 -2 -3 -4 -5 -6 -7"},
        {"%1$lX %1$08llx %1$ju %1$lo", {-1}, "FFFFFFFF ffffffff 4294967295 37777777777"},
        {"%9999d", {1}, limit},
        {"%.9999d", {1}, std::string(kMaxMessageBytes, '0')},
        {"%s%s", {limit.c_str(), "cut"}, limit},
        {std::string("a\0%n", 4), {}, "a"},
        {"%s %s", {"a"}, {}},
        {"%d", {}, {}},
        {"%3$s", {"a", "b"}, {}},
        {"%0$s", {"a"}, {}},
        {"%99999999999999999999$s", {"a"}, {}},
        {"%1$s %s", {"a", "b"}, {}},
        {"%s %1$s", {"a", "b"}, {}},
        {"%d", {"a"}, {}},
        {"%s", {1}, {}},
        {"%n", {1}, {}},
        {"%hn", {1}, {}},
        {"%1$n", {"a"}, {}},
        {"%p %f %m %S %C", {1, 1, 1, 1, 1}, {}},
        {"%ls", {"a"}, {}},
        {"%hs", {"a"}, {}},
        {"%lc", {1}, {}},
        {"%hhhd", {1}, {}},
        {"%*d", {1, 1}, {}},
        {"%.*s", {1, "a"}, {}},
        {"%2147483648d", {1}, {}},
        {"%.2147483648d", {1}, {}},
        {"%Lf", {1}, {}},
        {"%1$1$d", {1}, {}},
        {"%1$*1$d", {1}, {}},
        {"100%", {}, {}},
        {"100% sure", {"a"}, "100" + std::string("a") + "ure"},
        {"% ", {1}, {}},
        {"%5%", {}, {}},
        {"%1$", {"a"}, {}},
        {"%5.", {1}, {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(formatMessage(row.text, row.arguments), row.result.value_or(row.text)) << row.text;
        EXPECT_EQ(agrees(row.text, row.arguments), row.result.has_value()) << row.text;
    }
    EXPECT_EQ(formatMessage(std::string(5000, 'a') + "%", {}), std::string(kMaxMessageBytes, 'a'));
}

TEST(MessageHelper, CutsATextBeforeItIsFormatted) {
    ::setenv("VEXO_BUNDLE_PATH", ".", 1);
    const std::string most(1021, 'a');
    writeFile("T.properties", "P_FITS=" + most + "%s\nP_CUT=" + most + "b%s\nP_HALF=" + most + "b\xC3\xA4\nP_SHORT=%d");
    const MessageHelper messages("T", "P_");
    EXPECT_EQ(messages.getResStr("FITS", "x"), widen(most) + L"x");
    EXPECT_EQ(messages.getResStr("CUT", "x"), widen(most) + L"b%");
    EXPECT_EQ(messages.getResStr("HALF"), widen(most) + L"b");
    EXPECT_EQ(messages.getResStr("SHORT", "no number"), L"%d");
    EXPECT_EQ(messages.getResStr("NONE", 1), L"P_NONE");
    EXPECT_EQ(MessageHelper("None", "").getResStr("SHORT", 1), L"The resource bundle is not installed");
}

TEST(CMSGStrings, PreparesDialogsAndKeys) {
    String title;
    String message;
    CMSGStrings::PrepareDialog(L"VEXO", L"VEXO_ACCESS_ERROR", L"VEXO_NONE", title, message);
    EXPECT_EQ(title + L"|" + message, L"denied|VEXO_NONE");
    CMSGStrings::PrepareDialog(L"LK_MSG_P_E_3", L"LK_MSG_P_E_7006", title, message);
    EXPECT_EQ(title + L"|" + message, L"three|overflow");
    CMSGStrings::PrepareDialog(L"None", L"A", L"B", title, message);
    EXPECT_EQ(title + L"|" + message,
              L"XRMSG Resource Bundle Loading Error|The XRMSG resource bundle is not installed");
    std::array<String, 4> keys;
    CMSGStrings::MakeResString(L"P-", L"\t-5-6 \r\n", keys[0]);
    CMSGStrings::MakeResString(L" -5 ", keys[1]);
    CMSGStrings::MakeResString(L"P_", -7, keys[2]);
    CMSGStrings::MakeResString(7008, keys[3]);
    EXPECT_EQ(keys, (std::array<String, 4>{L"P-N5N6", L"LK_MSG_N5", L"P_N7", L"LK_MSG_7008"}));
}

TEST(Bundles, AgreeInEveryLanguageWithWhatTheProgramPasses) {
    // A text: s, a number: d.
    const std::map<std::string, std::string> arguments = {{"VEXO_NAME", "s"},
                                                          {"VEXO_COPYRIGHT", ""},
                                                          {"VEXO_USAGE", ""},
                                                          {"VEXO_FATAL_ERROR", "d"},
                                                          {"VEXO_THREAD_FATAL_ERROR", "d"},
                                                          {"VEXO_ERR_SIGNAL_THREAD", "d"},
                                                          {"VEXO_ERR_ENGINE_CRASH", "s"},
                                                          {"VEXO_MSG_EXIT", ""},
                                                          {"VEXO_ERR_INTERACTIVE_INPUT", ""},
                                                          {"VEXO_INFO_EXIT", ""},
                                                          {"VEXO_INFO_EXIT_W_LIMIT", "d"},
                                                          {"VEXO_INFO_EXIT_REFRESH", ""},
                                                          {"VEXO_HDR_USR_CONFIG", ""},
                                                          {"VEXO_HDR_END_CFG", ""},
                                                          {"VEXO_FILE_NOT_FOUND_ERROR", ""},
                                                          {"VEXO_ACCESS_ERROR", ""},
                                                          {"VEXO_ERR_READ_FILE", "ssd"},
                                                          {"VEXO_ERR_CREATE_FILE", "ssd"},
                                                          {"VEXO_ERR_WRITE", "ss"},
                                                          {"VEXO_ERR_LINE_TOO_LONG", "sdd"},
                                                          {"VEXO_ERR_VALUE_NUL", "sd"},
                                                          {"VEXO_ERR_MISSING_TAG", "s"},
                                                          {"VEXO_ERR_MISSING_TAG_VALUE", "s"},
                                                          {"VEXO_ERR_VALUE_TOO_LONG", "sd"},
                                                          {"VEXO_ERR_ENGINE_LIBRARY", "ss"},
                                                          {"VEXO_ERR_ENGINE_FUNCTIONS", "ss"},
                                                          {"VEXO_ERR_RECORD_JSON", "d"},
                                                          {"VEXO_ERR_RECORD_CUT", "d"},
                                                          {"VEXO_ERR_RECORD_FIELD", "ds"},
                                                          {"VEXO_ERR_RECORD_KIND", "ds"},
                                                          {"VEXO_ERR_RECORD_VERSION", "ds"},
                                                          {"VEXO_ERR_HISTORY", "ss"},
                                                          {"VEXO_ERR_HISTORY_FOREIGN", "s"},
                                                          {"VEXO_ERR_HISTORY_LOCKED", "s"},
                                                          {"VEXO_ERR_HISTORY_MOVED", "s"},
                                                          {"VEXO_ERR_HISTORY_NEWER", "sdd"},
                                                          {"VEXO_INFO_HISTORY_DAMAGED", "sss"},
                                                          {"VEXO_INFO_HISTORY_OLDER", "ssd"},
                                                          {"VEXO_ERR_HISTORY_RECORD", "sss"},
                                                          {"VEXO_ERR_HISTORY_LOST", "ss"},
                                                          {"VEXO_ERR_HISTORY_TABLE", "ss"},
                                                          {"KORA_FILE_NOT_FOUND_ERROR", ""},
                                                          {"KORA_ACCESS_ERROR", ""},
                                                          {"KORA_ERR_CREATE_FILE", "ssd"},
                                                          {"LK_MSG_P_E_7006", ""},
                                                          {"LK_MSG_P_E_7008", ""},
                                                          {"LK_MSG_P_E_7010", ""},
                                                          {"LK_MSG_P_E_7015", ""}};
    const std::regex property("([A-Z0-9_]+)=.*");
    std::map<std::string, int> originals;
    for (const auto& file : std::filesystem::directory_iterator(VEXO_SHIPPED_BUNDLES)) {
        const std::string name = file.path().filename();
        if (file.path().extension() != ".properties") continue;
        const std::string content = contents(file.path());
        std::istringstream lines(content);
        for (std::string line; std::getline(lines, line);) {
            std::smatch parts;
            if (line.empty() || line[0] == '#' || line[0] == ' ') continue;
            ASSERT_TRUE(std::regex_match(line, parts, property)) << name << ": " << line;
            const std::string key = parts[1];
            const auto known = arguments.find(key);
            const bool status = std::regex_match(key, std::regex("(LK_MSG_P_E|KORA)_[0-9]+"));
            ASSERT_TRUE(status || known != arguments.end()) << name << ": " << key;
            if (name.find('_') == std::string::npos) ++originals[key];
            std::vector<MessageArgument> passed;
            for (const char type : status ? "" : known->second) {
                passed.push_back(type == 's' ? MessageArgument("") : MessageArgument(0));
            }
            const String text = findProperty(content, widen(key)).value_or(L"");
            EXPECT_TRUE(agrees(narrow(text), passed) && narrow(text).size() < 1024) << name << ": " << line;
            EXPECT_EQ(text.find(L'\uFFFD'), String::npos) << name << ": " << line;
            // These two stand in JSON as they are.
            if (key != "VEXO_NAME" && key != "VEXO_COPYRIGHT") continue;
            EXPECT_EQ(text.find_first_of(L"\"\\\t\n\r"), String::npos) << name << ": " << line;
        }
    }
    for (const auto& [key, types] : arguments)
        EXPECT_EQ(originals[key], 1) << key;
}

}  // namespace
}  // namespace vexo
