// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cwchar>
#include <regex>
#include <sstream>

#include "Support.h"
#include "record/SafeText.h"
#include "record/Waits.h"
#include "view/Text.h"
#include "view/Value.h"
#include "view/Viewer.h"
#include "view/WaitForest.h"

namespace vexo {
namespace {

// A handle of a file: who, and what it does. Waiting ones have waited for so many seconds.
struct Handle {
    const char* client;
    char lock = 'N';
    int waitsFor = 0;
    int seconds = 0;
    int transaction = 0;
    int mode = 0;
};

struct File {
    const char* name;
    std::vector<Handle> handles;
    std::uint64_t sizeBytes = 20U << 20U;
};

struct Session {
    const char* name;
    const char* address;
    std::uint32_t reads = 0;
    std::vector<const char*> files = {};
};

// Clients are told apart by their names alone.
RecordPtr made(const std::vector<File>& files, const std::vector<Session>& sessions = {}, std::uint64_t number = 1) {
    auto record = std::make_shared<Record>();
    NameTable names;
    record->number = number;
    record->epochMs = 1'795'269'800'000 + static_cast<std::int64_t>(number) * 10'000;
    record->monotonicUs = static_cast<std::int64_t>(number) * 10'000'000;
    record->scope = HandleScope::kAll;
    for (SectionResult& section : record->sections)
        section.state = SectionState::kWhole;
    record->usage = Usage{};
    record->usage->sessions = {5, 7, 20};
    record->usage->locks = {3, 12, 0};
    record->usage->uptimeSeconds = 198'800;
    record->communication = Communication{};
    for (const File& file : files) {
        FileItem item;
        item.name = names.add(file.name);
        item.sizeBytes = file.sizeBytes;
        item.handles.first = static_cast<std::uint32_t>(record->fileHandles.size());
        for (const Handle& handle : file.handles) {
            const HandleState state{static_cast<std::uint16_t>(handle.transaction),
                                    static_cast<std::uint8_t>(handle.mode), static_cast<std::uint8_t>(handle.lock),
                                    static_cast<std::uint8_t>(handle.waitsFor)};
            const NameId client = names.add(handle.client);
            record->fileHandles.push_back({7, client, state});
            ++item.counts.all;
            ++item.handles.count;
            if (handle.waitsFor == 0) continue;
            ++item.counts.waiting;
            record->waits.push_back({item.name, client, 7, state.waitState, record->epochMs,
                                     static_cast<std::uint64_t>(handle.seconds) * 1000});
        }
        record->files.push_back(item);
    }
    for (const Session& session : sessions) {
        SessionItem item;
        item.name = item.clientId = names.add(session.name);
        item.address = names.add(session.address);
        item.recordsRead = session.reads;
        item.handles = {static_cast<std::uint32_t>(record->sessionHandles.size()),
                        static_cast<std::uint32_t>(session.files.size())};
        for (const char* const file : session.files)
            record->sessionHandles.push_back({names.add(file), {0, 0, 'N', 0}});
        record->sessions.push_back(item);
    }
    record->connections.push_back({names.add("webshop"), names.add("web1"), names.add("10.0.0.9"), names.add("shopd"),
                                   names.add("SHOP"), 1, 2500, 77});
    record->protocols.push_back({4, 100, 2, 3});
    record->names = names.take();
    return record;
}

std::string textOf(const Line& line) {
    std::string text;
    for (const Span& span : line)
        text += span.text;
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// What stands in the shown columns that are named, of all rows: those of a line joined by "|".
class Screen {
public:
    explicit Screen(ViewName view, Size size = {24, 80}) : m_size(size) {
        ::setenv("VEXO_BUNDLE_PATH", VEXO_SHIPPED_BUNDLES, 1);
        ::setenv("TZ", "UTC", 1);
        viewer = std::make_unique<Viewer>(view);
    }
    Request press(char32_t character) { return viewer->press({KeyKind::kCharacter, character}); }
    Request press(KeyKind kind) { return viewer->press({kind, 0}); }
    Request type(const std::string& text) {
        for (const wchar_t c : widen(text))
            press(static_cast<char32_t>(c));
        return press(KeyKind::kEnter);
    }
    // A line feed is the Enter key.
    void pressAll(const std::string& keys) {
        for (const wchar_t c : widen(keys))
            c == L'\n' ? press(KeyKind::kEnter) : press(static_cast<char32_t>(c));
    }
    std::vector<std::string> lines() {
        std::vector<std::string> texts;
        for (const Line& line : viewer->picture(m_size).lines)
            texts.push_back(textOf(line));
        return texts;
    }
    std::string line(std::size_t number) { return lines().at(number); }
    std::string last() { return lines().back(); }
    // The first words of the rows below the headings.
    std::string firsts() {
        std::string firsts;
        const auto all = lines();
        for (std::size_t row = 4; row + 1 < all.size() && !all[row].empty(); ++row)
            firsts += all[row].substr(0, all[row].find(' ')) + " ";
        return firsts;
    }
    // The text of the row of the cursor.
    std::string selected() {
        for (const Line& line : viewer->picture(m_size).lines)
            if (!line.empty() && line.front().style == Style::kSelected && line.size() == 1) return textOf(line);
        return {};
    }

    std::unique_ptr<Viewer> viewer;

private:
    const Size m_size;
};

TEST(ViewText, IsMeasuredAndCutByWhatATerminalShows) {
    constexpr struct {
        const char* text;
        int width;
        int columns;
        Cut cut;
        const char* cutText;
    } kRows[] = {
        {"STOCK.DAT", 9, 9, Cut::kStart, "STOCK.DAT"},
        {"/srv/shop/STOCK.DAT", 19, 10, Cut::kStart, "…STOCK.DAT"},
        {"/srv/shop/STOCK.DAT", 19, 9, Cut::kMiddle, "/srv….DAT"},
        {"WAREHOUSE", 9, 4, Cut::kEnd, "WAR…"},
        {"WAREHOUSE", 9, 1, Cut::kStart, "…"},
        {"WAREHOUSE", 9, 0, Cut::kEnd, ""},
        {"在庫表", 6, 5, Cut::kEnd, "在庫…"},
        {"在庫表", 6, 4, Cut::kEnd, "在…"},
        {"在庫表", 6, 4, Cut::kStart, "…表"},
        {"Lu\u0308cke\u0301", 5, 4, Cut::kEnd, "Lu\u0308c…"},
        {"Lu\u0308cke\u0301", 5, 3, Cut::kStart, "…ke\u0301"},
    };
    for (const char* const locale : {"C.UTF-8", "C"}) {
        ASSERT_TRUE(std::setlocale(LC_CTYPE, locale)) << locale;
        for (const auto& row : kRows) {
            EXPECT_EQ(widthOf(row.text), row.width) << row.text << " in " << locale;
            EXPECT_EQ(cutTo(row.text, row.columns, row.cut), row.cutText) << row.columns << " in " << locale;
        }
    }
    EXPECT_EQ(screenText(std::string_view("a\x1b[31m\xff\xe2\x80\xae\xef\xbf\xbf")),
              "a\\x1b[31m\\xff\\u{202e}\\u{ffff}");
}

TEST(ViewValue, IsWrittenWithoutNeedlessDigitsAndFitsItsColumn) {
    using Kind = Value::Kind;
    constexpr struct {
        Kind kind;
        double number;
        int columns;
        const char* text;
    } kRows[] = {
        {Kind::kCount, 902'211, 7, "902211"},
        {Kind::kCount, 4'294'967'295, 7, "4.3G"},
        {Kind::kCount, 999'960, 5, "1.0M"},
        {Kind::kCount, -5, 7, "-5"},
        {Kind::kBytes, 512, 5, "512"},
        {Kind::kBytes, 1024 * 1024, 5, "1.0M"},
        {Kind::kBytes, 20'979'712, 5, "20M"},
        {Kind::kBytes, 1'048'000, 5, "1023K"},
        {Kind::kByteRate, -2048, 6, "-2.0K"},
        {Kind::kByteRate, 0.3, 6, "0"},
        {Kind::kRate, 0, 6, "0"},
        {Kind::kRate, 0.01, 6, "<0.1"},
        {Kind::kRate, 0.5, 6, "0.5"},
        {Kind::kRate, 2, 6, "2"},
        {Kind::kRate, 812.4, 6, "812"},
        {Kind::kRate, 41'872'000, 6, "42M"},
        {Kind::kShare, 0.976, 6, "98"},
        {Kind::kMillis, 250, 7, "0.2s"},
        {Kind::kMillis, 40'000, 7, "40s"},
        {Kind::kMillis, 370'000, 7, "6m10"},
        {Kind::kMillis, 720'000, 7, "12m"},
        {Kind::kMillis, 47'100'000, 7, "13h05"},
        {Kind::kMillis, 198'800'000, 7, "2d07h"},
        {Kind::kAtLeast, 40'000, 8, ">=40s"},
        {Kind::kUnknown, 3, 8, "-"},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(shown(numberValue(row.kind, row.number), row.columns, Cut::kEnd), row.text) << row.number;

    Value bar = numberValue(Kind::kBar, 0.5);
    bar.peak = 0.8;
    EXPECT_EQ(shown(bar, 12, Cut::kEnd), "[#####  |  ]");
    bar.number = bar.peak = 3;  // beyond the limit
    EXPECT_EQ(shown(bar, 6, Cut::kEnd), "[###|]");
    bar.isOpen = true;
    EXPECT_EQ(shown(bar, 6, Cut::kEnd), "[###| ");

    Value name = textValue("user@host.example:50123 #4711");
    name.before = "holds: ";
    name.behind = " +2";
    EXPECT_EQ(shown(name, 20, Cut::kMiddle), "holds: user@…4711 +2");
}

TEST(WaitsView, ShowsChainsAsTreesWithTheLongestFirst) {
    constexpr int kRecord = 1;
    constexpr int kFile = 2;
    constexpr int kExclusive = 19;
    constexpr int kConcurrent = 1019;
    const struct {
        const char* what;
        std::vector<File> files;
        std::vector<std::string> rows;  // how long, what for, who, who may hold it, how many are below
    } kRows[] = {
        {"one lock is the one that is waited for",
         {{"A", {{"holder", 'S'}, {"reader"}, {"waiter", 'N', kRecord, 40}}}},
         {">=40s record A waiter holds: holder 0"}},
        {"with two it may be either, and the exclusive one rather",
         {{"A", {{"one", 'S'}, {"two", 'M', 0, 0, kExclusive}, {"waiter", 'N', kRecord, 40}}}},
         {">=40s record A waiter two +1 0"}},
        {"one who waits may hold the record, too",
         {{"A", {{"holder", 'S'}, {"both", 'S', kRecord, 5}, {"waiter", 'N', kRecord, 40}}}},
         {">=40s record A waiter holder 0", ">=5s record A both holds: holder 0"}},
        {"a transaction may hold anything",
         {{"A", {{"idle"}, {"writer", 'N', 0, 0, kConcurrent}, {"waiter", 'N', kRecord, 1}}}},
         {">=1s record A waiter writer 0"}},
        {"a file is held by the only one who does not wait for it",
         {{"A", {{"writer", 'N', 0, 0, kConcurrent}, {"w1", 'N', kFile, 9}, {"w2", 'N', kFile, 10}}}},
         {">=10s file A w2 holds: writer 0", ">=9s file A w1 holds: writer 0"}},
        {"nobody is known", {{"A", {{"idle"}, {"waiter", 'N', kRecord, 1}}}}, {">=1s record A waiter - 0"}},
        {"the waiter itself is no candidate",
         {{"A", {{"waiter", 'S'}, {"waiter", 'N', kRecord, 1}}}},
         {">=1s record A waiter - 0"}},
        {"who has a lock of its own may be in its own way",
         {{"A", {{"holder", 'S'}, {"waiter", 'S'}, {"waiter", 'N', kRecord, 40}}}},
         {">=40s record A waiter holder 0"}},
        {"a chain, and one beside it",
         {{"A", {{"root", 'S'}, {"second", 'N', kRecord, 60}}},
          {"B", {{"second", 'S'}, {"third", 'N', kRecord, 30}, {"fourth", 'N', kRecord, 50}}},
          {"C", {{"third", 'S'}, {"fifth", 'N', kRecord, 20}}},
          {"D", {{"alone", 'S'}, {"other", 'N', kRecord, 55}}}},
         {">=60s record A second holds: root 3", ">=50s record B `- fourth holds: second 0",
          ">=30s record B `- third holds: second 1", ">=20s record C `- fifth holds: third 0",
          ">=55s record D other holds: alone 0"}},
        {"a cycle, and one who waits for it",
         {{"A", {{"x", 'S'}, {"y", 'N', kRecord, 70}, {"z", 'N', kRecord, 80}}},
          {"B", {{"y", 'S'}, {"x", 'N', kRecord, 75}}}},
         {">=75s record B x holds: y (cycle) 2", ">=80s record A `- z holds: x 0", ">=70s record A `- y holds: x 0"}},
        {"each waits for the other of the same name",
         {{"A", {{"x", 'S'}, {"y", 'N', kRecord, 1}}}, {"B", {{"y", 'S'}, {"x", 'N', kRecord, 1}}}},
         {">=1s record A y holds: x (cycle) 1", ">=1s record B `- x holds: y 0"}},
    };
    for (const auto& row : kRows) {
        const RecordPtr record = made(row.files);
        const std::vector<WaitNode> nodes = waitForest(*record);
        for (std::size_t wait = 0; wait < nodes.size(); ++wait)
            EXPECT_EQ(nodes[wait].candidates, mayHold(*record, record->waits[wait]).size()) << row.what;
        // Where some handles are left out, one of those may have the file.
        auto noted = std::make_shared<Record>(*record);
        noted->scope = HandleScope::kNoted;
        for (std::size_t wait = 0; wait < nodes.size(); ++wait)
            EXPECT_TRUE(record->waits[wait].waitState == kRecord || !waitForest(*noted)[wait].isCertain) << row.what;
        Screen screen(ViewName::kWaits, {24, 64});
        screen.viewer->show(record, nullptr);
        const auto lines = screen.lines();
        for (std::size_t place = 0; place < row.rows.size(); ++place) {
            std::string words;
            std::istringstream text(lines.at(place + 4));
            for (std::string word; text >> word;)
                words += (words.empty() ? "" : " ") + word;
            EXPECT_EQ(words, row.rows[place]) << row.what;
        }
        EXPECT_EQ(lines.at(row.rows.size() + 4), "") << row.what;
    }
}

// No line is wider than the screen, moves its cursor or shows the key of a text.
void checkHarmless(const Picture& picture, Size size) {
    EXPECT_LE(picture.lines.size(), static_cast<std::size_t>(size.rows));
    EXPECT_LT(picture.cursor.value_or(Position{0, -1}).column, size.columns);
    for (const Line& line : picture.lines) {
        const std::string text = textOf(line);
        EXPECT_EQ(safeText(text), text);
        EXPECT_EQ(text.find("_VIEW_"), std::string::npos) << text;
        const String shown = widen(text);
        const int width = ::wcswidth(shown.c_str(), shown.size());
        EXPECT_TRUE(width >= 0 && width <= size.columns) << size.columns << ": " << text;
    }
}

// Everything that can be looked at, with names that would ruin a screen.
TEST(Viewer, DrawsInAnySizeWithoutHarm) {
    static const std::string endless(1023, 'n');
    static const std::string hostile = "\x1b[2J\x1b[31mred\n\t\x7f\xc2\x9b\xff \xe2\x80\xae\xe2\x80\x8b";
    static const std::string wide = "在庫表在庫表在庫表在庫表在庫表.DAT\u0301\u0301";
    std::vector<File> files = {
        {endless.c_str(), {{hostile.c_str(), 'S'}, {wide.c_str(), 'N', 1, 4}, {endless.c_str(), '\x01', 9, 1, 7, 251}}},
        {hostile.c_str(), {{wide.c_str(), 'M'}, {"", 'N', 2, 1'000'000'000}}},
        {wide.c_str(), {{"\u0301", 'N', 1, 3}, {"", 'S'}}, UINT64_MAX},
        {"", {}},
    };
    files.resize(60, {wide.c_str(), {}});
    const RecordPtr record = made(files, {{hostile.c_str(), endless.c_str(), UINT32_MAX, {wide.c_str(), "\u0301"}},
                                          {wide.c_str(), hostile.c_str(), 3, {endless.c_str()}}});
    Situation situation;
    situation.server = hostile;
    situation.isReplay = situation.isPaused = true;
    situation.link = Situation::Link::kLost;
    situation.reason = hostile + endless;
    situation.gapMs = situation.gapNextMs = INT64_MAX;
    for (const Size size : {Size{1, 1}, {0, 0}, {2, 300}, {10, 59}, {10, 60}, {24, 81}, {100, 300}}) {
        for (const std::string keys :
             {"1", "1\n", "1F>>I\n\n", "2", "2\n", "2/\u00E4\u5728", "3", "3\n", "3<", "4", "5", "6", "?", "b12"}) {
            SCOPED_TRACE(keys);
            Screen screen(ViewName::kFiles, size);
            screen.viewer->show(record, made({}));
            screen.viewer->setSituation(situation);
            screen.viewer->picture(size);
            screen.pressAll(keys);
            checkHarmless(screen.viewer->picture(size), size);
        }
    }
}

TEST(Viewer, ShowsInEveryLanguageAllThatBelongsOn80Columns) {
    // The columns that each view has there at least, and the handles of a file and of a session.
    constexpr std::pair<const char*, std::ptrdiff_t> kColumns[] = {{"1", 7}, {"2", 5}, {"3", 8},   {"4", 6},
                                                                   {"5", 6}, {"6", 6}, {"1\n", 7}, {"3\n", 5}};
    for (const char* const language :
         {"C", "de_DE", "es_ES", "fr_FR", "it_IT", "ja_JP", "nl_NL", "pl_PL", "pt_BR", "zh_CN"}) {
        ::setenv("LC_ALL", language, 1);
        Screen screen(ViewName::kFiles);
        screen.viewer->show(made({{"A", {{"x", 'N', 1}}}}, {{"x", "10.0.0.1", 0, {"A"}}}), nullptr);
        for (const auto& [keys, columns] : kColumns) {
            screen.pressAll(keys);
            const Line headings = screen.viewer->picture({24, 80}).lines.at(3);
            EXPECT_GE(std::count_if(headings.begin(), headings.end(),
                                    [](const Span& span) { return span.style != Style::kPlain; }),
                      columns)
                << keys << " in " << language << ": " << textOf(headings);
        }
        screen.press('?');
        for (const std::string& line : screen.lines())
            EXPECT_EQ(line.find("…"), std::string::npos) << line;
    }
}

TEST(Viewer, KeepsTheCursorInItsPlaceOrWithAnItem) {
    const File a = {"a", {{"x"}}};
    const File b = {"b", {{"x"}, {"y"}}};
    const File c = {"c", {{"x"}, {"y"}, {"z"}}};
    const File grown = {"a", {{"x"}, {"y"}, {"z"}, {"u"}}};
    Screen screen(ViewName::kFiles);
    screen.viewer->show(made({a, b, c}), nullptr);
    EXPECT_EQ(screen.firsts(), "c b a ");  // most handles first
    screen.press(KeyKind::kEnd);
    EXPECT_EQ(screen.selected()[0], 'a');
    screen.viewer->show(made({grown, b, c}), nullptr);
    EXPECT_EQ(screen.firsts(), "a c b ");
    EXPECT_EQ(screen.selected()[0], 'b');  // its place
    screen.press('F');
    screen.viewer->show(made({b, a, c}), nullptr);
    EXPECT_EQ(screen.selected()[0], 'b');
    screen.viewer->show(made({a, grown, b, c}), nullptr);
    EXPECT_EQ(screen.selected()[0], 'b');  // the item
    screen.viewer->show(made({a, c}), nullptr);
    EXPECT_NE(screen.line(2).find("gone"), std::string::npos) << screen.line(2);
    screen.viewer->show(made({c, b, a}), nullptr);
    EXPECT_EQ(screen.selected()[0], 'b');  // it came back
    screen.press('F');
    screen.press('k');
    screen.viewer->show(nullptr, nullptr);
    EXPECT_EQ(screen.line(3), "There is no record yet.");
    screen.press(KeyKind::kEnter);
    screen.press(KeyKind::kDown);
    EXPECT_EQ(screen.selected(), "");
}

TEST(Viewer, SortsByAnyColumnWithTheUnknownLast) {
    const RecordPtr before = made({}, {{"s1", "", 100}, {"s2", "", 100}, {"s3", "", 100}});
    Screen screen(ViewName::kSessions);
    screen.viewer->show(
        made({}, {{"s0", "10.0.0.4"}, {"s1", "10.0.0.3", 150}, {"s2", "10.0.0.3", 50}, {"s3", "10.0.0.1", 900}}, 2),
        before);
    EXPECT_EQ(screen.firsts(), "s3 s1 s0 s2 ");  // 80 and 5 a second, one without a rate, one that fell
    EXPECT_NE(screen.line(2).find("sort: READ/s desc"), std::string::npos);
    screen.press('I');
    EXPECT_EQ(screen.firsts(), "s1 s3 s0 s2 ");
    for (const char key : {'<', '<', '<'})
        screen.press(static_cast<char32_t>(key));
    EXPECT_EQ(screen.firsts(), "s3 s1 s2 s0 ");  // by address, like ones as they came
    screen.press(KeyKind::kF6);
    EXPECT_NE(screen.line(2).find("sort: LOCKS desc"), std::string::npos) << screen.line(2);
    EXPECT_EQ(screen.firsts(), "s0 s1 s2 s3 ");
}

TEST(Viewer, FiltersAndSearchesInTextsAsTheyAreShown) {
    Screen screen(ViewName::kFiles);
    screen.viewer->show(made({{"stock", {{"Till-1"}}}, {"ORDERS", {}}, {"b\x1b[d", {}}, {"Bücher", {}}, {"tills", {}}}),
                        nullptr);
    constexpr struct {
        const char* filter;
        const char* rows;
    } kRows[] = {
        {"ORD", "ORDERS "},  {"ord", "ORDERS "},           {"\\X1b", "b\\x1b[d "},
        {"büch", "Bücher "}, {"none", "No row contains "},
    };
    for (const auto& row : kRows) {
        screen.press('/');
        screen.type(row.filter);
        const auto lines = screen.lines();
        const std::string first = lines[3].find("No row") == 0 ? "No row contains " : screen.firsts();
        EXPECT_EQ(first, row.rows) << row.filter;
        EXPECT_NE(lines[2].find("filter: " + std::string(row.filter)), std::string::npos) << lines[2];
        screen.press(KeyKind::kEscape);
        EXPECT_EQ(screen.line(2).find("filter"), std::string::npos);
    }
    screen.press(KeyKind::kF4);
    screen.press(U'ü');
    EXPECT_EQ(screen.firsts(), "Bücher ");  // while it is typed
    screen.press(KeyKind::kBackspace);
    screen.press(KeyKind::kBackspace);
    EXPECT_EQ(screen.last(), "filter:");
    screen.press(KeyKind::kEscape);
    screen.press(KeyKind::kF3);
    screen.type("TILL");
    EXPECT_EQ(screen.selected().substr(0, 5), "tills");
    screen.press('n');
    EXPECT_EQ(screen.selected().substr(0, 5), "tills");  // the only one
    screen.press(KeyKind::kF3);
    screen.type("nobody");
    EXPECT_EQ(screen.last(), "Nothing contains that text.");
    screen.press('j');
    EXPECT_NE(screen.last().find("? help"), std::string::npos);
}

TEST(Viewer, GoesFromFilesToSessionsAndBackWhereNamesAreUnambiguous) {
    const std::vector<File> files = {{"A", {{"solo"}, {"twin"}, {"none"}}}, {"B", {}}, {"B", {}}};
    const std::vector<Session> sessions = {
        {"solo", "10.0.0.1", 0, {"A", "B", "C"}}, {"twin", "10.0.0.2"}, {"twin", "10.0.0.3"}};
    Screen screen(ViewName::kFiles);
    screen.viewer->show(made(files, sessions), nullptr);
    screen.press(KeyKind::kEnter);
    EXPECT_EQ(screen.line(2).find("-- handles of A --"), 0U) << screen.line(2);
    const auto lines = screen.lines();
    const char* const ends[] = {"10.0.0.1", "?", "-"};
    for (std::size_t row = 0; row < 3; ++row)
        EXPECT_EQ(lines[4 + row].find(ends[row] + std::string(" "), lines[3].find("ADDRESS")),
                  lines[3].find("ADDRESS"));
    screen.press(KeyKind::kEnd);
    screen.press(KeyKind::kEnter);
    EXPECT_EQ(screen.last(), "No session of this record has the name of this client.");
    screen.press('k');
    screen.press(KeyKind::kEnter);
    EXPECT_EQ(screen.last(), "More than one session has the name of this client.");
    screen.press(KeyKind::kHome);
    screen.press(KeyKind::kEnter);
    EXPECT_EQ(screen.line(2).find("-- handles of session solo --"), 0U);
    screen.press('j');
    screen.press(KeyKind::kEnter);
    EXPECT_EQ(screen.last(), "More than one file has this name.");
    // While the session is away its handles are no others'.
    screen.viewer->show(made(files, {{"twin", "10.0.0.2", 0, {"A"}}}), nullptr);
    EXPECT_EQ(screen.line(3), "Not open in this record. Esc goes back.");
    EXPECT_EQ(screen.line(4), "");
    screen.viewer->show(made(files, {{"other", ""}, {"solo", "10.0.0.1", 0, {"A"}}}), nullptr);
    EXPECT_EQ(screen.firsts(), "A ");
    screen.press(KeyKind::kEscape);
    EXPECT_EQ(screen.line(2).find("-- handles of A --"), 0U);
    screen.press(KeyKind::kEscape);
    EXPECT_EQ(screen.firsts(), "A B B ");
    screen.press(KeyKind::kEscape);
    EXPECT_EQ(screen.firsts(), "A B B ");
    // A hundred levels are no more than a few.
    for (int level = 0; level < 100; ++level)
        screen.press(KeyKind::kEnter);
    EXPECT_EQ(screen.line(2).find("-- handles of "), 0U);
}

TEST(Viewer, AsksForWhatItCannotDoItself) {
    constexpr struct {
        char key;
        const char* typed;
        RequestKind live;
        RequestKind replay;
        const char* text;
    } kRows[] = {
        {'q', nullptr, RequestKind::kQuit, RequestKind::kQuit, ""},
        {'z', nullptr, RequestKind::kPause, RequestKind::kPause, ""},
        {' ', nullptr, RequestKind::kPause, RequestKind::kPause, ""},
        {'i', "5s", RequestKind::kSetInterval, RequestKind::kSetInterval, "5s"},
        {'b', "-2h", RequestKind::kNone, RequestKind::kJump, "-2h"},
        {'t', nullptr, RequestKind::kNone, RequestKind::kNextRecord, ""},
        {'T', nullptr, RequestKind::kNone, RequestKind::kPreviousRecord, ""},
        {'r', nullptr, RequestKind::kNone, RequestKind::kFirstRecord, ""},
        {'Z', nullptr, RequestKind::kNone, RequestKind::kLastRecord, ""},
        {'w', nullptr, RequestKind::kNone, RequestKind::kNextWait, ""},
        {'W', nullptr, RequestKind::kNone, RequestKind::kPreviousWait, ""},
        {'g', nullptr, RequestKind::kNone, RequestKind::kNextGap, ""},
        {'G', nullptr, RequestKind::kNone, RequestKind::kPreviousGap, ""},
        {'x', nullptr, RequestKind::kNone, RequestKind::kNone, ""},
    };
    for (const bool isReplay : {false, true}) {
        for (const auto& row : kRows) {
            Screen screen(ViewName::kUsage);
            Situation situation;
            situation.isReplay = isReplay;
            screen.viewer->setSituation(situation);
            Request request = screen.press(static_cast<char32_t>(row.key));
            const RequestKind expected = isReplay ? row.replay : row.live;
            if (row.typed && expected != RequestKind::kNone) request = screen.type(row.typed);
            EXPECT_EQ(request.kind, expected) << row.key;
            EXPECT_EQ(request.text, expected == RequestKind::kNone ? "" : row.text) << row.key;
        }
    }
}

TEST(Viewer, TellsWhatIsMissing) {
    Screen screen(ViewName::kSessions);
    auto record = std::make_shared<Record>(*made({{"A", {{"x", 'N', 1, 40}}}}, {{"s", ""}}));
    record->sections[static_cast<std::size_t>(Section::kSessions)].state = SectionState::kFailed;
    record->sections[static_cast<std::size_t>(Section::kSessions)].text = "Status 7010: moved on";
    record->sections[static_cast<std::size_t>(Section::kConnections)].state = SectionState::kOff;
    record->scope = HandleScope::kNoted;
    screen.viewer->show(record, nullptr);
    EXPECT_EQ(screen.line(1), "up 2d07h  sess 5/20  files 0  handles 0  locks 3  trans 0  req/s -");
    EXPECT_EQ(screen.line(3), "sessions: not read: Status 7010: moved on");
    screen.press('4');
    EXPECT_EQ(screen.line(3), "connections: switched off in the settings of this record");
    screen.press('1');
    screen.press(KeyKind::kEnter);
    EXPECT_EQ(screen.line(3), "Only handles that wait, lock or have a transaction are in this record.");
    auto blind = std::make_shared<Record>(*made({{"A", {}}}));
    blind->scope = HandleScope::kNone;
    screen.viewer->show(blind, nullptr);
    screen.press('2');
    EXPECT_EQ(screen.line(3), "No handles were asked for: who waits and who locks is not known.");
    screen.press('1');
    EXPECT_EQ(screen.line(4), "A               20M       -        -     -     -                0");

    Situation situation;
    situation.server = "shop";
    situation.intervalMs = 10'000;
    situation.link = Situation::Link::kLost;
    situation.linkSinceMs = 1'795'269'800'000;
    situation.reason = "Status 3010";
    situation.isPaused = true;
    screen.viewer->setSituation(situation);
    EXPECT_EQ(screen.line(0), "shop  LIVE 2026-11-21 14:03:30 +00:00  rec 1  10s  [1] files              PAUSED");
    EXPECT_EQ(screen.line(1).find("CONNECTION LOST at 14:03:20: Status 3010  "), 0U) << screen.line(1);
    situation.link = Situation::Link::kConnected;
    situation.gapMs = 720'000;
    screen.viewer->setSituation(situation);
    EXPECT_EQ(screen.line(1).find("GAP 12m before this record  up 2d07h"), 0U) << screen.line(1);
    EXPECT_EQ(screen.viewer->picture({24, 80}).lines[1].front().style, Style::kGap);
    screen.viewer->tell("No earlier record.");
    EXPECT_EQ(screen.last(), "No earlier record.");
}

// The rows of the table of keys in a page whose rows look like that, from `begin` to `end`.
std::vector<std::string> keysIn(const char* page, const char* begin, const char* end, const char* row) {
    const std::string text = contents(page);
    const std::size_t start = text.find(begin);
    const std::string table = text.substr(start, text.find(end, start) - start);
    const std::regex pattern(row);
    std::vector<std::string> keys;
    for (std::sregex_iterator found(table.begin(), table.end(), pattern), none; found != none; ++found)
        keys.push_back(std::regex_replace((*found)[1].str(), std::regex(R"(\\&)"), "") + "  " + (*found)[2].str());
    return keys;
}

TEST(Viewer, ShowsTheKeysThatThePagesTell) {
    Screen screen(ViewName::kFiles, {60, 200});
    screen.press('?');
    std::vector<std::string> help;
    for (const std::string& line : screen.lines())
        if (line.find("  ") != std::string::npos) help.push_back(std::regex_replace(line, std::regex("   *"), "  "));
    help.erase(help.begin(), help.begin() + 1);  // the header
    EXPECT_EQ(help, keysIn(VEXO_TOP_MANUAL, "\n.Ss Keys\n", "\n.El\n", "\n\\.It Ic (.*)\n(.*)"));
    EXPECT_EQ(help, keysIn(VEXO_TOP_PAGE, "\n| key | ", "\n\n", "\n\\| `(.*)` \\| (.*) \\|"));
}

}  // namespace
}  // namespace vexo
