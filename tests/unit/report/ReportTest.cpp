// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <random>

#include "LivelyEngine.h"
#include "history/HistoryWriter.h"
#include "record/PointInTime.h"
#include "report/Buckets.h"
#include "report/Page.h"
#include "report/ReportReader.h"
#include "report/ReportText.h"
#include "report/TimeAxis.h"

namespace vexo {
namespace {

// Local times are those of `zone` while it lives.
class InZone {
public:
    explicit InZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    ~InZone() {
        ::unsetenv("TZ");
        ::tzset();
    }
};

constexpr std::int64_t kHourMs = 3'600'000;

TEST(ReportText, MakesHostileTextsInert) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"<script>\"'&", "<bdi>&lt;script&gt;&quot;&#39;&amp;</bdi>"},
        {"\x1b[2J\n\x80", "<bdi>\\x1b[2J\\x0a\\x80</bdi>"},
        {"a\u202eb\u200b", "<bdi>a\\u{202e}b\\u{200b}</bdi>"},
        {"\xEF\xBF\xBE\xEF\xBF\xBF", "<bdi>\\u{fffe}\\u{ffff}</bdi>"},
        {"Größe \xEF\xBD\xA5", "<bdi>Größe \xEF\xBD\xA5</bdi>"},
    };
    for (const auto& [bytes, html] : rows)
        EXPECT_EQ(nameHtml(bytes), html);
    EXPECT_LT(nameHtml(std::string(100'000, 'x')).size(), 1000U);
}

TEST(ReportText, WritesNumbersAndDurations) {
    const ReportText text;
    const std::pair<double, std::string_view> numbers[] = {
        {0, "0"},       {0.004, "0"},    {0.25, "0.25"},           {9.994, "9.99"},  {17.32, "17.3"},
        {99.97, "100"}, {8640, "8,640"}, {1234567.8, "1,234,568"}, {-12.5, "-12.5"}, {0.5, "0.5"}};
    for (const auto& [value, written] : numbers)
        EXPECT_EQ(text.number(value), written);
    const std::pair<std::uint64_t, std::string_view> durations[] = {
        {0, "0 s"},           {850, "0.9 s"},          {9'960, "10 s"},    {41'000, "41 s"},
        {59'600, "1 min"},    {250'000, "4 min 10 s"}, {3'600'000, "1 h"}, {43'260'000, "12 h 1 min"},
        {604'790'000, "7 d"}, {3'599'700, "1 h"}};
    for (const auto& [milliseconds, written] : durations)
        EXPECT_EQ(text.duration(milliseconds), written) << milliseconds;
    EXPECT_EQ(text.amount(Quantity::kBytes, 1536.0 * 1024), "1.5\u00a0MiB");
    EXPECT_EQ(text.percent(0.9999), "99%");
    EXPECT_EQ(text.percent(0.0001), "&lt;1%");
    EXPECT_EQ(text.counted("SUM_GAPS", 1, {"a", "b", "c", "d"}), "There is one gap, of b, from c: d.");
    EXPECT_EQ(text.counted("SUM_GAPS", 2000, {"a", "b", "c", "d"}).substr(0, 21), "There are 2,000 gaps,");
}

TEST(ReportText, RepeatsNeitherDateNorZone) {
    const InZone zone("Europe/Berlin");
    const ReportText text;
    const std::int64_t changes = 1'792'890'000'000;  // 2026-10-25 03:00 +02:00 becomes 02:00 +01:00
    EXPECT_EQ(text.range(changes + kHourMs, changes + 2 * kHourMs),
              "<time datetime=\"2026-10-25T02:00:00.000Z\">2026-10-25 03:00:00</time> to "
              "<time datetime=\"2026-10-25T03:00:00.000Z\">04:00:00 +01:00</time>");
    EXPECT_NE(text.range(changes - kHourMs, changes).find("02:00:00 +02:00</time> to "), std::string::npos);
    EXPECT_NE(text.range(changes, changes + 24 * kHourMs).find(">2026-10-26 02:00:00 +01:00<"), std::string::npos);
}

// Every tick is round by the clock on the wall, and they follow each other, also where that clock is changed.
TEST(TimeAxis, IsRoundWhereTheClocksChange) {
    struct Row {
        const char* zone;
        std::int64_t middleMs;
    };
    const Row rows[] = {
        {"Europe/Berlin", 1'792'890'000'000},        // back by an hour
        {"Europe/Berlin", 1'774'746'000'000},        // ahead by an hour
        {"Australia/Lord_Howe", 1'775'314'800'000},  // back by half an hour
        {"Asia/Kathmandu", 1'792'890'000'000},
    };
    for (const auto& [name, middleMs] : rows) {
        const InZone zone(name);
        for (const std::int64_t hours : {6, 24, 48, 24 * 7, 24 * 60}) {
            const std::int64_t start = middleMs - hours * kHourMs / 2 - 1234;
            const std::int64_t end = middleMs + hours * kHourMs / 2;
            const auto ticks = timeTicks(start, end, 9);
            ASSERT_GE(ticks.size(), 3U) << name << hours;
            EXPECT_LE(ticks.size(), 11U) << name << hours;
            std::int64_t before = start - 1;
            for (const TimeTick& tick : ticks) {
                EXPECT_GT(tick.epochMs, before);
                EXPECT_EQ(localTime(tick.epochMs).substr(14, 5), "00:00") << name << hours << tick.time;
                before = tick.epochMs;
            }
            EXPECT_LE(before, end);
            EXPECT_FALSE(ticks.front().date.empty() || ticks.front().zone.empty());
        }
    }
}

TEST(TimeAxis, HasRoundValues) {
    using Values = std::vector<double>;
    EXPECT_EQ(valueTicks(18, TickSteps::kWhole), (Values{0, 5, 10, 15, 20}));
    EXPECT_EQ(valueTicks(1, TickSteps::kWhole), (Values{0, 1}));
    EXPECT_EQ(valueTicks(0, TickSteps::kWhole), (Values{0, 1}));
    EXPECT_EQ(valueTicks(8'000, TickSteps::kDecimal), (Values{0, 2000, 4000, 6000, 8000}));
    EXPECT_EQ(valueTicks(900, TickSteps::kBinary), (Values{0, 256, 512, 768, 1024}));
    EXPECT_NEAR(valueTicks(0.3, TickSteps::kDecimal).back(), 0.3, 1e-9);
}

TEST(Buckets, KeepLeastMeanAndGreatest) {
    Buckets buckets(-25'000, 60'000, 10'000);
    EXPECT_EQ(buckets.startMs(), -30'000);
    for (const auto& [at, value] : {std::pair(-25'000, 4.0), {-21'000, 2.0}, {59'999, 9.0}, {70'000, 50.0}})
        buckets.add(at, value);
    EXPECT_EQ(buckets.buckets()[0].mean(), 3);
    EXPECT_EQ(buckets.buckets()[0].greatestAtMs, -25'000);
    const Buckets coarser = buckets.coarser();
    EXPECT_EQ(coarser.stepMs() % buckets.stepMs(), 0);
    Statistics all;
    for (const Statistics& bucket : coarser.buckets())
        all.add(bucket);
    EXPECT_EQ(all.count, 3U);
    EXPECT_EQ(all.least, 2);
    EXPECT_EQ(all.greatest, 9);
    EXPECT_EQ(all.sum, 15);
    for (std::int64_t least = 50; least < 9600 * kHourMs; least = least * 3 / 2) {
        const std::int64_t step = stepAtLeast(least);
        EXPECT_GE(step, least);
        EXPECT_TRUE(900'000 % step == 0 || step % 900'000 == 0) << step;
    }
}

// The work of sessions that stay is exact, however few of the records are read.
TEST(ReportReader, SumsUpTheSameFromSomeRecords) {
    const LivelyEngine engine(60);
    {
        HistoryWriter writer("h", {1ULL << 50U, 1ULL << 40U, 0});
        for (std::uint64_t number = 1; number <= 290; ++number)
            writer.write(engine.record(number));
    }
    const auto span = wholeSpan("h");
    ASSERT_TRUE(span);
    const ReportData all = readReport("h", *span);
    const ReportData some = readReport("h", *span, all.items / 100);
    EXPECT_EQ(all.recordsRead, 290U);
    EXPECT_GE(some.recordsRead, 3U);
    EXPECT_LE(some.recordsRead, 5U);
    EXPECT_TRUE(some.of(Series::kRecordsRead).isSampled);
    ASSERT_EQ(all.sessions.items.size(), 3U);
    for (std::size_t place = 0; place < 3; ++place) {
        EXPECT_EQ(some.sessions.items[place].name, all.sessions.items[place].name);
        EXPECT_EQ(some.sessions.items[place].recordsRead, all.sessions.items[place].recordsRead);
        EXPECT_EQ(some.sessions.items[place].cacheAccesses, all.sessions.items[place].cacheAccesses);
    }
    EXPECT_NEAR(some.of(Series::kRecordsRead).all.mean(), all.of(Series::kRecordsRead).all.mean(), 1);
}

TEST(ReportReader, TellsACounterThatHasGoneRoundFromAnotherSession) {
    struct Case {
        std::uint32_t readBefore, insertedBefore, read, inserted, pid;
        std::uint64_t readMore, writtenMore;
    };
    const Case kCases[] = {
        {4'294'967'290, 70, 30, 75, 1, 36, 5},   // round
        {4'294'967'290, 70, 30, 5, 1, 30, 5},    // all of it new
        {4'294'967'290, 70, 30, 75, 2, 30, 75},  // another process
        {500, 70, 30, 75, 1, 30, 75},           {500, 70, 530, 75, 2, 30, 5},
    };
    for (const Case& one : kCases) {
        std::filesystem::remove("round");
        {
            HistoryWriter writer("round", {1ULL << 50U, 1ULL << 40U, 0});
            Record record = LivelyEngine(20).record(1);
            SessionItem& session = record.sessions.at(0);
            session.recordsUpdated = session.recordsDeleted = 0;
            session.pid = 1;
            session.recordsRead = one.readBefore;
            session.recordsInserted = one.insertedBefore;
            writer.write(record);
            ++record.number;
            session.pid = one.pid;
            session.recordsRead = one.read;
            session.recordsInserted = one.inserted;
            writer.write(record);
        }
        const SessionUse use = readReport("round", *wholeSpan("round")).sessions.items.at(0);
        EXPECT_EQ(use.recordsRead, one.readMore) << one.readBefore << ' ' << one.inserted << ' ' << one.pid;
        EXPECT_EQ(use.recordsWritten, one.writtenMore) << one.readBefore << ' ' << one.inserted << ' ' << one.pid;
    }
}

// Everything at its most: noise in all charts, and as many long names as the tables take.
TEST(Page, StaysWithinItsSize) {
    const std::int64_t start = 1'795'269'600'000;
    const std::string name(3000, '<');
    ReportData data(Buckets(start, start + 71'940'000, 60'000));
    std::mt19937 dice{7};
    for (SeriesData& series : data.series)
        for (std::int64_t place = 0; place < 6000; ++place)
            series.add(start + place * 12'000, static_cast<double>(dice() % 1'000'000) / 7);
    for (std::int64_t place = 0; place < 1000; ++place)
        data.events.items.push_back({{EventKind::kConnected, start + place * 60'000, {}, {}, {}, name}, 1, start});
    data.events.all = 1000;
    for (int place = 0; place < 40; ++place) {
        data.waitGroups.items.push_back({name, name, 3, 4, 5, start});
        data.waits.items.push_back({{1, 2}, start, start + 1, 1, name, name, "record", {name, name, name}, 7});
    }
    const std::string page = makePage(data);
    EXPECT_LE(page.size(), kMaxPageBytes);
    EXPECT_GT(page.size(), kMaxPageBytes / 2);
    EXPECT_NE(page.find("</html>"), std::string::npos);
}

}  // namespace
}  // namespace vexo
