// SPDX-License-Identifier: MIT
#include <iconv.h>

#include <map>
#include <regex>
#include <set>

#include "Support.h"
#include "messages/CMSGStrings.h"
#include "messages/MessageHelper.h"
#include "messages/StringBundle.h"

namespace vexo {
namespace {

TEST(MessageFormat, DoesWhatPrintfWouldButTrustsNoText) {
    const std::string limit(kMaxMessageBytes, ' ');
    const std::tuple<std::string, std::vector<MessageArgument>, std::string> rows[] = {
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
        {"100% sure", {"a"}, "100" + std::string("a") + "ure"},
    };
    for (const auto& [text, arguments, result] : rows) {
        EXPECT_EQ(formatMessage(text, arguments), result) << text;
        EXPECT_TRUE(agrees(text, arguments)) << text;
    }
    // A text that is refused stands for itself.
    const std::vector<MessageArgument> texts = {"a", "b"};
    const std::vector<MessageArgument> numbers = {1, 1};
    const std::pair<std::vector<MessageArgument>, std::vector<const char*>> refused[] = {
        {texts,
         {"%s %s %s", "%3$s", "%0$s", "%99999999999999999999$s", "%1$s %s", "%s %1$s", "%d", "%1$n", "%ls", "%hs",
          "%1$", "%5%", "100%"}},
        {numbers, {"%d %d %d", "%s",      "%n",    "%hn", "%p",   "%f",  "%m",           "%S",
                   "%C",       "%lc",     "%hhhd", "%*d", "%.*d", "%Lf", "%2147483648d", "%.2147483648d",
                   "%1$1$d",   "%1$*1$d", "% ",    "%5."}},
    };
    for (const auto& [arguments, formats] : refused) {
        for (const char* format : formats) {
            EXPECT_EQ(formatMessage(format, arguments), format);
            EXPECT_FALSE(agrees(format, arguments)) << format;
        }
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

// The keys of a bundle's file, in its order; fails for a line that is none of a property.
std::vector<std::string> keysOf(const std::string& content) {
    const std::regex property("([A-Z0-9_]+)=.*");
    std::vector<std::string> keys;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (line.empty() || line[0] == '#' || line[0] == ' ') continue;
        EXPECT_TRUE(std::regex_match(line, parts, property)) << line;
        if (!parts.empty()) keys.push_back(parts[1]);
    }
    return keys;
}

// What each text is given: a text s, a number d.
std::map<std::string, std::string> argumentsOfTexts() {
    // By what they are given (a text: s, a number: d), the texts of VEXO; the others are those of statuses.
    const std::pair<const char*, const char*> texts[] = {
        {"",
         "COPYRIGHT USAGE MSG_EXIT ERR_INTERACTIVE_INPUT INFO_EXIT INFO_EXIT_REFRESH HDR_USR_CONFIG HDR_END_CFG "
         "FILE_NOT_FOUND_ERROR ACCESS_ERROR"},
        {"s", "NAME ERR_ENGINE_CRASH ERR_MISSING_TAG ERR_MISSING_TAG_VALUE"},
        {"d", "FATAL_ERROR THREAD_FATAL_ERROR ERR_SIGNAL_THREAD INFO_EXIT_W_LIMIT"},
        {"ss", "ERR_WRITE ERR_ENGINE_LIBRARY ERR_ENGINE_FUNCTIONS"},
        {"sd", "ERR_VALUE_NUL ERR_VALUE_TOO_LONG"},
        {"ssd", "ERR_READ_FILE ERR_CREATE_FILE"},
        {"sdd", "ERR_LINE_TOO_LONG"},
    };
    // The same of AGENT.
    const std::pair<const char*, const char*> recorder[] = {
        {"s",
         "NAME ERR_NOT_BUILT ERR_CSV_COLUMNS EVENT_STARTED "
         "EVENT_CONNECT_FAILED EVENT_LOST EVENT_STALLED EVENT_RESUMED EVENT_CALL_FAILED EVENT_CLOCK_AHEAD "
         "EVENT_CLOCK_BACK "
         "EVENT_TICKS_MISSED EVENT_SINK_RECOVERED CHECK_NOTHING ERR_IN_USE ERR_NOT_REPLACEABLE CHECK_UNKNOWN "
         "CHECK_BLANK_NAME "
         "CHECK_BLANK_VALUE CHECK_BLANK_NO CHECK_EQUALS_EMPTY CHECK_EQUALS_LOST CHECK_OUTPUT CHECK_READABLE "
         "ERR_HISTORY_FOREIGN ERR_HISTORY_REST "
         "ERR_HISTORY_LOCKED ERR_HISTORY_ROOM ERR_HISTORY_MOVED ERR_LISTEN_ADDRESS INFO_PORT"},
        {"",
         "HELP_USAGE HELP_SINKS HELP_SAMPLING HELP_HISTORY HELP_OTHER ERR_NO_SINK "
         "ERR_ABANDON ERR_MEMORY ERR_READER_GONE ERR_NOT_WHOLE EVENT_STOPPED EVENT_ABANDONED EVENT_CONNECTED "
         "EVENT_RESTARTED CHECK_ERROR CHECK_NOTE CHECK_NO_NAME CHECK_NO_EQUALS CHECK_NO_LIMIT CHECK_LIMIT_ALONE "
         "HTTP_METRICS "
         "HTTP_HEALTH"},
        {"ss",
         "ERR_WRITE EVENT_DROPPED EVENT_REPEATED EVENT_SINK_FAILED CHECK_OTHER_NAME CHECK_MEANS_YES "
         "CHECK_NO_NUMBER CHECK_NEGATIVE ERR_LISTEN ERR_HISTORY ERR_HISTORY_LOST ERR_HISTORY_RECORD "
         "ERR_HISTORY_TABLE"},
        {"d", "ERR_CODE ERR_THREAD ERR_RECORD_JSON ERR_RECORD_CUT"},
        {"ds", "ERR_RECORD_FIELD ERR_RECORD_KIND ERR_RECORD_VERSION"},
        {"sss", "INFO_HISTORY_DAMAGED"},
        {"ssd", "INFO_HISTORY_OLDER"},
        {"sdd", "ERR_HISTORY_NEWER"},
        {"sd", "CHECK_REPEATED CHECK_TOO_LONG"},
        {"dd", "CHECK_REFRESH_RAISED"}};
    // The same of OPTIONS.
    const std::pair<const char*, const char*> options[] = {
        {"s", "SEE_HELP ERR_OPTION ERR_NO_VALUE ERR_ARGUMENT ERR_REPEATED"},
        {"ss", "ERR_VALUE ERR_EXCLUDE ERR_NEEDS"},
        {"", "ERR_NO_SETTINGS"}};
    // The same of TOP.
    const std::pair<const char*, const char*> screen[] = {
        {"s", "NAME ERR_TERMINAL_UNKNOWN ERR_TERMINAL_POOR ERR_EMPTY BAD_INTERVAL BAD_TIME BEGINS ENDS"},
        {"ss", "PASSED"},
        {"",
         "HELP_USAGE HELP_SCREEN HELP_OTHER ERR_NO_SOURCE ERR_NO_TERMINAL ONLY_LIVE NO_PAUSE NO_NEXT_RECORD "
         "NO_PREVIOUS_RECORD NO_NEXT_WAIT NO_PREVIOUS_WAIT NO_NEXT_GAP NO_PREVIOUS_GAP"}};
    // The same of the views of TOP.
    const std::pair<const char*, const char*> views[] = {{"s", "LOST STALLED GAP_BEFORE GAP_BEHIND"},
                                                         {"ss", "TOTAL_WAITS"}};
    // The same of REPORT, as far as they are given any.
    const std::pair<const char*, const char*> report[] = {
        {"s",
         "CHARTS_NOTE CHART_LIMIT DAYS ERR_EMPTY ERR_ITSELF HOURS LANE_ONCE_MANY LANE_ONCE_ONE LIMIT_LABEL MINUTES "
         "MORE NAME "
         "PERCENT PER_SECOND PROTOCOL_OTHER SECONDS SUM_BEFORE SUM_BEHIND SUM_CLOCK_MANY SUM_LOST_MANY "
         "SUM_RESTARTED_MANY SUM_RUNS_MANY SUM_STALLED_MANY SUM_UNANSWERED_MANY SUM_VERSION TIMES TITLE "
         "WAITS_ONCE_MANY"},
        {"ss",
         "CHECK_DAMAGED CHECK_SOUND ERR_ORDER FILES_OF_SOME FROM_TO LANE_WAITS_MANY LANE_WAITS_ONE SESSIONS_OF_SOME "
         "SHOWN SUM_DAMAGE"},
        {"sss",
         "MADE SUM_LIMIT_REACHED SUM_LONG_WAITS_MANY SUM_LONG_WAITS_ONE SUM_MOST SUM_SHORT_WAITS_MANY "
         "SUM_SHORT_WAITS_ONE"},
        {"ssss", "CHART_CAPTION SUM_LONGEST SUM_RECORDS_MANY SUM_RECORDS_ONE SUM_SEEN_ONCE"},
        {"sssss", "SUM_GAPS_MANY SUM_GAPS_ONE SUM_LIMIT_NEAR"},
        {"ssssss", "ERR_SPAN"}};
    std::map<std::string, std::string> arguments = {{"KORA_FILE_NOT_FOUND_ERROR", ""},
                                                    {"KORA_ACCESS_ERROR", ""},
                                                    {"KORA_ERR_CREATE_FILE", "ssd"},
                                                    {"LK_MSG_P_E_7006", ""},
                                                    {"LK_MSG_P_E_7008", ""},
                                                    {"LK_MSG_P_E_7010", ""},
                                                    {"LK_MSG_P_E_7015", ""}};
    const auto add = [&arguments](const std::string& prefix, const auto& lists) {
        for (const auto& [types, keys] : lists) {
            std::istringstream words(keys);
            for (std::string key; words >> key;)
                arguments[prefix + key] = types;
        }
    };
    add("VEXO_", texts);
    add("AGENT_", recorder);
    add("OPTIONS_", options);
    add("TOP_", screen);
    // Of those of the views the others are given nothing.
    for (const std::string& key : keysOf(contents(VEXO_SHIPPED_BUNDLES "/TOP.properties")))
        if (key.find("TOP_VIEW_") == 0) arguments[key] = "";
    add("TOP_VIEW_", views);
    add("REPORT_", report);
    return arguments;
}

// Whether a text, which is given `types`, asks for nothing else and can be shown.
void checkText(const std::string& key, const String& text, const std::string& types) {
    std::vector<MessageArgument> passed;
    for (const char type : types)
        passed.push_back(type == 's' ? MessageArgument("") : MessageArgument(0));
    EXPECT_TRUE(agrees(narrow(text), passed)) << key;
    EXPECT_LT(narrow(text).size(), 1024U) << key;
    EXPECT_EQ(text.find(L'\uFFFD'), String::npos) << key;
    // These two stand in JSON as they are.
    if (key != "VEXO_NAME" && key != "VEXO_COPYRIGHT") return;
    EXPECT_EQ(text.find_first_of(L"\"\\\t\n\r"), String::npos) << key;
}

TEST(Bundles, AgreeInEveryLanguageWithWhatTheProgramPasses) {
    const std::map<std::string, std::string> arguments = argumentsOfTexts();
    const std::regex withoutArguments("(LK_MSG_P_E|KORA)_[0-9]+|REPORT_.*");
    std::map<std::string, int> originals;
    for (const auto& file : std::filesystem::directory_iterator(VEXO_SHIPPED_BUNDLES)) {
        const std::string name = file.path().filename();
        if (file.path().extension() != ".properties") continue;
        SCOPED_TRACE(name);
        const std::string content = contents(file.path());
        for (const std::string& key : keysOf(content)) {
            const auto known = arguments.find(key);
            const bool isBare = known == arguments.end();
            ASSERT_TRUE(!isBare || std::regex_match(key, withoutArguments)) << key;
            checkText(key, findProperty(content, widen(key)).value_or(L""), isBare ? "" : known->second);
            if (name.find('_') == std::string::npos) ++originals[key];
        }
    }
    for (const auto& [key, types] : arguments)
        EXPECT_EQ(originals[key], 1) << key;
}

// The texts of a bundle by their keys.
std::map<std::string, std::string> textsOf(const std::string& bundle) {
    std::ifstream file(VEXO_SHIPPED_BUNDLES "/" + bundle + ".properties");
    std::map<std::string, std::string> texts;
    std::string key;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] != ' ') key = line.substr(0, line.find('='));
        texts[key] += line + "\n";
    }
    for (auto& [name, text] : texts)
        text = narrow(findProperty(text, widen(name)).value_or(L""));
    return texts;
}

// The conversions of a text, each with the argument that it shows: "2s".
std::set<std::string> conversionsOf(const std::string& text) {
    static const std::regex kConversion("%(?:([0-9])\\$)?([^a-zA-Z%]*[a-zA-Z%])");
    std::set<std::string> found;
    for (std::sregex_iterator part(text.begin(), text.end(), kConversion), end; part != end; ++part)
        found.insert(((*part)[1].matched ? part->str(1) : std::to_string(found.size() + 1)) + part->str(2));
    return found;
}

bool canBeShownIn(const char* encoding, std::string text) {
    std::string converted(4 * text.size() + 1, '\0');
    char* from = text.data();
    char* to = converted.data();
    std::size_t left = text.size();
    std::size_t room = converted.size();
    auto* const converter = ::iconv_open(encoding, "UTF-8");
    const std::size_t result = ::iconv(converter, &from, &left, &to, &room);
    ::iconv_close(converter);
    return result == 0;
}

TEST(Bundles, SayEverythingInEveryLanguage) {
    // What is used for a language where UTF-8 is not. A text keeps to its characters: any other is shown as "?".
    const std::pair<const char*, const char*> encodings[] = {
        {"de", "ISO-8859-1"}, {"es", "ISO-8859-1"}, {"fr", "ISO-8859-1"},    {"it", "ISO-8859-1"}, {"ja", "EUC-JP"},
        {"nl", "ISO-8859-1"}, {"pl", "ISO-8859-2"}, {"pt_BR", "ISO-8859-1"}, {"zh_CN", "GB2312"}};
    std::set<std::string> originals;
    std::set<std::string> files;
    for (const auto& file : std::filesystem::directory_iterator(VEXO_SHIPPED_BUNDLES)) {
        const std::string name = file.path().stem();
        if (file.path().extension() != ".properties") continue;
        // Texts for the settings of engines, which no program of ours looks up, are in English only.
        if (name != "KORA") (name.find('_') == std::string::npos ? originals : files).insert(name);
    }
    for (const std::string& bundle : originals) {
        const auto original = textsOf(bundle);
        for (const auto& [language, encoding] : encodings) {
            const std::string name = bundle + "_" + language;
            SCOPED_TRACE(name);
            EXPECT_EQ(files.erase(name), 1U);
            auto translation = textsOf(name);
            for (const auto& [key, text] : original) {
                EXPECT_EQ(conversionsOf(translation[key]), conversionsOf(text)) << key;
                EXPECT_TRUE(canBeShownIn(encoding, translation[key])) << key;
                EXPECT_EQ(translation[key].empty(), text.empty()) << key;
                translation.erase(key);
            }
            EXPECT_TRUE(translation.empty()) << translation.begin()->first;
        }
    }
    EXPECT_TRUE(files.empty()) << *files.begin();
}

}  // namespace
}  // namespace vexo
