// SPDX-License-Identifier: MIT
#include <SQLiteCpp/SQLiteCpp.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <random>
#include <thread>
#include <tuple>

#include "LivelyEngine.h"
#include "Support.h"
#include "history/HistoryCheck.h"
#include "history/HistoryGaps.h"
#include "history/HistoryReader.h"
#include "history/HistorySink.h"
#include "history/HistoryTables.h"
#include "history/HistoryWaits.h"

namespace {

using Outcome = HistoryWriter::Outcome;

constexpr HistoryLimits kUnlimited = {1ULL << 50U, 1ULL << 40U, 0};
const LivelyEngine s_engine(20);

std::string textOf(const Record& record) {
    std::string text;
    appendNdjson(text, record);
    return text;
}

// Far more kills, and thousands of bytes: for a run by hand.
bool isThorough() {
    return std::getenv("VEXO_THOROUGH") != nullptr;
}

// Writes the records of these numbers.
Outcome write(HistoryWriter& writer, std::uint64_t first, std::uint64_t last, const LivelyEngine& engine = s_engine) {
    Outcome outcome = Outcome::kStored;
    const std::uint64_t run = writer.nextRun();
    for (std::uint64_t number = first; number <= last; ++number)
        outcome = writer.write(engine.record(number, run));
    return outcome;
}

// How many records a reader gets from the first to the last; each has to be what was written. Damage is passed over and
// counted.
struct Found {
    std::uint64_t records = 0;
    std::uint64_t last = 0;
    std::uint64_t failures = 0;
};
Found readAll(const std::string& path, const LivelyEngine& engine = s_engine) {
    Found found;
    try {
        HistoryReader reader(path);
        for (;;) {
            try {
                const RecordPtr record = reader.next();
                if (!record) return found;
                EXPECT_GT(record->number, found.last);
                EXPECT_EQ(textOf(*record), textOf(engine.record(record->number, record->run)));
                found.last = record->number;
                ++found.records;
            } catch (const HistoryException&) {
                ++found.failures;
                reader.passDamage();
            }
        }
    } catch (const HistoryException&) {
        ++found.failures;
    }
    return found;
}

std::int64_t query(const std::string& path, const std::string& sql) {
    return SQLite::Database(path, SQLite::OPEN_READWRITE).execAndGet(sql).getInt64();
}

void change(const std::string& path, const std::string& sql) {
    SQLite::Database(path, SQLite::OPEN_READWRITE).exec(sql);
}

std::string shown(const std::vector<String>& findings) {
    std::string text;
    for (const String& finding : findings)
        text += narrow(finding) + "; ";
    return text;
}

// The only file whose name begins so; empty without one.
std::string asideOf(const std::string& path) {
    for (const auto& entry : std::filesystem::directory_iterator("."))
        if (entry.path().filename().string().rfind(path + ".aside-", 0) == 0) return entry.path().filename();
    return "";
}

// No file grows beyond this size meanwhile.
struct FileSizeLimit {
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit = {bytes, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before); }
    rlimit before{};
};

}  // namespace

TEST(History, GivesBackWhatWasWritten) {
    {
        HistoryWriter writer("h", kUnlimited);
        EXPECT_EQ(writer.nextRecord(), 1U);
        write(writer, 1, 130);
        // A reader while the history is written.
        EXPECT_EQ(readAll("h").last, 130U);
        EXPECT_EQ(std::filesystem::status("h-wal").permissions(), std::filesystem::perms(0600));
    }
    {
        HistoryWriter writer("h", kUnlimited);
        EXPECT_EQ(writer.nextRun(), 2U);
        EXPECT_EQ(writer.nextRecord(), 131U);
        write(writer, 131, 140);
    }
    EXPECT_EQ(readAll("h").records, 140U);
    EXPECT_EQ(shown(checkHistory("h").findings), "");
    HistoryReader reader("h");
    EXPECT_EQ(reader.previous(), nullptr);
    // Milliseconds from the first record; the record there.
    const std::pair<std::int64_t, std::uint64_t> instants[] = {
        {-1, 1},       {0, 1},        {9'999, 1},           {590'000, 60},
        {600'001, 61}, {610'000, 62}, {INT64_MAX / 2, 140}, {1'350'000, 136}};
    for (const auto& [passed, number] : instants) {
        const RecordPtr record = reader.at(LivelyEngine::epochOf(1) + passed);
        EXPECT_EQ(textOf(*record), textOf(s_engine.record(number, record->run))) << passed;
    }
    for (std::uint64_t number = 135; number >= 1; --number)
        EXPECT_EQ(reader.previous()->number, number);
    EXPECT_EQ(reader.previous(), nullptr);
    EXPECT_EQ(reader.next()->number, 2U);
    EXPECT_EQ(std::filesystem::status("h").permissions(), std::filesystem::perms(0600));
    const std::pair<const char*, std::int64_t> facts[] = {
        {"SELECT group_concat(DISTINCT key_rec) = '1,131' FROM record", 1},
        {"SELECT count(*) FROM run WHERE server = 'shop' AND interval_ms = 10000 AND handles = 'all'", 2},
        {"SELECT count(*) FROM usage JOIN communication USING(rec) WHERE handles_current = 20 AND files_max IS NULL",
         140},
        {"SELECT count(*) FROM protocol WHERE type = 4 AND requests >= rec * 812", 140},
        {"PRAGMA application_id", 0x56584849},
        {"PRAGMA user_version", 1},
        {"PRAGMA auto_vacuum", 2}};
    for (const auto& [sql, wanted] : facts)
        EXPECT_EQ(query("h", sql), wanted) << sql;
}

TEST(History, KeepsWaitsAsEpisodesAndEventsAsRows) {
    Record record;
    NameTable names;
    const NameId name = names.add("T\xff");
    record.names = names.take();
    record.sections[0] = {SectionState::kWhole, 1, 0, 0, 0, 0, {}};
    HistoryWriter writer("h", kUnlimited);
    // The clients that wait in each record.
    const std::vector<std::uint32_t> waiting[] = {{1, 2, 2}, {2, 2, 2}, {2}, {1}, {}, {1}};
    for (const auto& clients : waiting) {
        ++record.number;
        record.run = record.number < 6 ? 1 : 2;
        record.waits.clear();
        for (const std::uint32_t client : clients)
            record.waits.push_back({name, name, client, 1, 0, 0});
        record.events = {{EventKind::kTicksMissed, 5, 7, {}, 3, "late"}};
        ASSERT_EQ(writer.write(record), Outcome::kStored);
    }
    SQLite::Database database("h");
    EXPECT_EQ(database
                  .execAndGet("SELECT group_concat(client_index || ':' || first_rec || '-' || last_rec, ' ') FROM "
                              "(SELECT * FROM wait ORDER BY id)")
                  .getString(),
              "1:1-1 2:1-3 2:1-2 2:2-2 1:4-4 1:6-6");
    EXPECT_EQ(query("h",
                    "SELECT count(*) FROM event WHERE kind = 'ticks_missed' AND end_us = 7000 AND count = 3 AND "
                    "text = 'late'"),
              6);
    EXPECT_EQ(query("h", "SELECT count(*) FROM wait WHERE client = 'T' || char(0xFFFD)"), 6);
    change("h", "DELETE FROM event");
    ++record.number;
    ASSERT_EQ(writer.write(record), Outcome::kStored);
    EXPECT_EQ(query("h", "SELECT id FROM event"), 7) << "given out again";
}

namespace {

// A record of this time, in milliseconds by the clock that is never set, in which so many clients wait.
Record quietRecord(std::uint64_t number, std::uint64_t run, std::int64_t passedMs, std::uint32_t waiting) {
    Record record = LivelyEngine(1).record(number, run);
    record.epochMs = LivelyEngine::epochOf(0) + passedMs;
    record.monotonicUs = passedMs * 1000;
    record.waits.clear();
    for (std::uint32_t client = 0; client < waiting; ++client)
        record.waits.push_back({record.files[0].name, record.files[0].name, client, 1, record.epochMs, 0});
    return record;
}

std::uint64_t numberOf(const std::optional<RecordMark>& mark) {
    return mark ? mark->number : 0;
}

std::string shown(const std::optional<Gap>& gap) {
    if (!gap) return "none";
    return std::to_string(gap->before.number) + "-" + std::to_string(gap->behind.number) + " " +
           std::to_string(gap->lengthMs) + (gap->isNewRun ? " new" : "");
}

}  // namespace

TEST(History, FindsWaitsAndGaps) {
    {
        HistoryWriter writer("h", kUnlimited);
        // Number, run, milliseconds passed, clients that wait: with a gap behind 12, and another run behind 15.
        const std::tuple<std::uint64_t, std::uint64_t, std::int64_t, std::uint32_t> rows[] = {
            {10, 3, 0, 0},      {11, 3, 25'000, 1}, {12, 3, 35'000, 0}, {14, 3, 60'001, 0},
            {15, 3, 70'000, 2}, {17, 4, 71'000, 1}, {18, 4, 90'000, 0}};
        for (const auto& [number, run, passed, waiting] : rows)
            ASSERT_EQ(writer.write(quietRecord(number, run, passed, waiting)), Outcome::kStored);
        Record late = quietRecord(20, 4, 200'000, 0);
        late.epochMs -= 3'600'000;  // the clock was set back
        writer.write(late);
    }
    HistoryWaits waits("h");
    HistoryGaps gaps("h");
    // From a record: the next and the previous wait, the next and the previous gap, the one that ends and that begins there.
    const std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, const char*, const char*, const char*, const char*>
        rows[] = {{0, 11, 0, "12-14 25001", "none", "none", "none"},
                  {10, 11, 0, "12-14 25001", "none", "none", "none"},
                  {12, 15, 11, "12-14 25001", "none", "none", "12-14 25001"},
                  {14, 15, 11, "15-17 1000 new", "none", "12-14 25001", "none"},
                  {15, 17, 11, "15-17 1000 new", "12-14 25001", "none", "15-17 1000 new"},
                  {17, 0, 15, "18-20 110000", "12-14 25001", "15-17 1000 new", "none"},
                  {20, 0, 17, "none", "15-17 1000 new", "18-20 110000", "none"},
                  {99, 0, 17, "none", "18-20 110000", "none", "none"}};
    for (const auto& [from, nextWait, previousWait, nextGap, previousGap, before, behind] : rows) {
        EXPECT_EQ(numberOf(waits.next(from)), nextWait) << from;
        EXPECT_EQ(numberOf(waits.previous(from)), previousWait) << from;
        EXPECT_EQ(shown(gaps.next(from)), nextGap) << from;
        EXPECT_EQ(shown(gaps.previous(from)), previousGap) << from;
        EXPECT_EQ(shown(gaps.before(from)), before) << from;
        EXPECT_EQ(shown(gaps.behind(from)), behind) << from;
    }
    EXPECT_EQ(waits.next(0)->epochMs, LivelyEngine::epochOf(0) + 25'000);
    std::string all;
    gaps.forEach({12, 17}, [&](const Gap& gap) { all += shown(gap) + "; "; });
    EXPECT_EQ(all, "12-14 25001; 15-17 1000 new; ");
    HistoryReader reader("h");
    EXPECT_EQ(reader.last()->number, 20U);
    EXPECT_FALSE(reader.hasNext());
    EXPECT_EQ(reader.goTo(13)->number, 14U);
    EXPECT_EQ(reader.goTo(21), nullptr);
    EXPECT_TRUE(reader.hasNext());
    EXPECT_EQ(reader.next()->number, 15U);
    EXPECT_EQ(reader.first()->number, 10U);
    // In the hour that the clock went back over the last record is the closest to its time.
    EXPECT_EQ(reader.at(LivelyEngine::epochOf(0) - 1)->number, 20U);
    EXPECT_EQ(reader.at(LivelyEngine::epochOf(0))->number, 10U);
    EXPECT_EQ(reader.numberAt(LivelyEngine::epochOf(0) - 1), 20U);
    // From a record, so many further; as far as there are any.
    constexpr std::tuple<std::uint64_t, std::int64_t, std::uint64_t> kWays[] = {
        {0, 1, 10}, {12, 1, 14}, {12, 2, 15}, {12, 99, 20}, {20, 1, 0}, {14, -1, 12}, {14, -99, 10}, {10, -1, 0}};
    for (const auto& [from, records, target] : kWays)
        EXPECT_EQ(reader.numberFrom(from, records), target) << from << " " << records;
}

TEST(History, FollowsAClockThatIsSetBack) {
    constexpr std::int64_t kLast = LivelyEngine::epochOf(50);
    // Milliseconds that the clock goes back behind record 50; instants, and the records there.
    const std::tuple<std::int64_t, std::vector<std::pair<std::int64_t, std::uint64_t>>> rows[] = {
        {100'000, {{kLast - 50'000, 55}, {kLast, 60}, {kLast - 90'001, 40}, {kLast + 500'000, 100}}},
        {3'600'000, {{kLast - 50'000, 45}, {kLast - 3'590'000, 51}, {kLast - 3'590'001, 1}, {kLast + 500'000, 50}}}};
    for (const auto& [back, instants] : rows) {
        const std::string path = "back-" + std::to_string(back);
        HistoryWriter writer(path, kUnlimited);
        for (std::uint64_t number = 1; number <= 100; ++number) {
            Record record = s_engine.record(number);
            if (number > 50) record.epochMs -= back;
            ASSERT_EQ(writer.write(record), Outcome::kStored);
        }
        HistoryReader reader(path);
        for (std::uint64_t number = 1; number <= 100; ++number)
            ASSERT_EQ(reader.next()->number, number);
        for (const auto& [instant, number] : instants)
            EXPECT_EQ(reader.at(instant)->number, number) << back << " " << instant - kLast;
        EXPECT_EQ(shown(HistoryGaps(path).next(0)), "none");
        EXPECT_EQ(shown(checkHistory(path).findings), "");
    }
}

TEST(History, GivesNumbersWaitsEventsAndLinesOfASpan) {
    constexpr std::uint64_t kRecords = 1100;  // more than are read at once
    const LivelyEngine engine(100);
    {
        HistoryWriter writer("h", kUnlimited);
        for (std::uint64_t number = 1; number <= kRecords; ++number) {
            Record record = engine.record(number, number <= 600 ? 1 : 2);
            record.events = {{EventKind::kStalled, 1, {}, 7, 3, "slow"}, {EventKind::kResumed, 1, 2, {}, {}, ""}};
            if (number == 7) {
                record.usage.reset();
                record.sections[3] = {SectionState::kFailed, 1, 7010, 0, 0, 0, "moved on"};
            }
            writer.write(record);
        }
    }
    HistoryTables tables("h");
    const auto span = tables.span(LivelyEngine::epochOf(5) - 9'999, LivelyEngine::epochOf(kRecords - 1) + 1);
    ASSERT_TRUE(span);
    EXPECT_EQ(span->first.number, 5U);
    EXPECT_EQ(span->last.epochMs, LivelyEngine::epochOf(kRecords - 1));
    EXPECT_EQ(span->records, kRecords - 5);
    EXPECT_FALSE(tables.span(0, LivelyEngine::epochOf(0)));
    const RecordRange range = {span->first.number, span->last.number};

    // The numbers are those of the record: put into it, they give the same text.
    HistoryReader reader("h");
    std::uint64_t number = range.first;
    std::map<std::string, std::uint64_t> waitingRecords;
    tables.forEachRecord(range, [&](const RecordNumbers& row) {
        ASSERT_EQ(row.number, number);
        const RecordPtr whole = reader.goTo(number++);
        Record record = *whole;
        record.run = row.run;
        record.epochMs = row.epochMs;
        record.monotonicUs = row.monotonicUs + whole->monotonicUs % 1000;
        record.tookUs = row.tookUs;
        record.usage = row.usage;
        record.communication = row.communication;
        record.protocols = row.protocols;
        const std::string text = textOf(*whole);
        ASSERT_TRUE(textOf(record) == text) << number;
        std::string lines = "before";
        ASSERT_EQ(reader.appendLines(row.number, lines), row.number);
        ASSERT_TRUE(lines == "before" + text) << number;
        for (const WaitItem& wait : whole->waits)
            ++waitingRecords[std::string(whole->name(wait.client))];
    });
    EXPECT_EQ(number, range.last + 1);
    tables.forEachWait(range, [&](const WaitEpisode& wait) {
        EXPECT_EQ(wait.kind, "record");
        const std::uint64_t first = std::max(wait.records.first, range.first);
        const std::uint64_t last = std::min(wait.records.last, range.last);
        ASSERT_LE(first, last);
        waitingRecords[wait.client] -= last - first + 1;
        EXPECT_EQ(wait.sinceMs + static_cast<std::int64_t>(wait.waitedMs), LivelyEngine::epochOf(wait.records.last));
    });
    EXPECT_FALSE(waitingRecords.empty());
    for (const auto& [client, left] : waitingRecords)
        EXPECT_EQ(left, 0U) << client;
    std::uint64_t events = 0;
    tables.forEachEvent(range, [&](const HistoryEvent& row) {
        const bool isFirst = events % 2 == 0;
        EXPECT_EQ(row.record, range.first + events / 2);
        EXPECT_EQ(row.event.kind, isFirst ? EventKind::kStalled : EventKind::kResumed);
        EXPECT_EQ(row.event.count.value_or(0), isFirst ? 3U : 0U);
        EXPECT_EQ(row.event.endMs.value_or(0), isFirst ? 0 : 2);
        ++events;
    });
    EXPECT_EQ(events, 2 * (kRecords - 5));
    EXPECT_EQ(tables.runs({601, 700}).size(), 1U);
    EXPECT_EQ(tables.runs(range).at(1).epochMs, LivelyEngine::epochOf(601));
    EXPECT_EQ(tables.runs(range)[0].intervalMs, 10'000U);
}

namespace {

// Writes into the history until it is killed, and tells `report` of every record stored.
[[noreturn]] void writeUntilKilled(int report) {
    HistoryWriter writer("h", {1ULL << 50U, 300'000, 0});
    const std::uint64_t run = writer.nextRun();
    for (std::uint64_t number = writer.nextRecord();; ++number)
        if (writer.write(s_engine.record(number, run)) != Outcome::kStored ||
            ::write(report, &number, sizeof number) < 0)
            ::_exit(1);
}

// A process that writes and is killed after so many microseconds, counted from the first record if that is awaited. Gives
// the last record that it told of; `last` without any.
std::uint64_t killAfter(std::uint64_t last, bool awaited, std::uint64_t delayUs) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) writeUntilKilled(ends[1]);
    ::close(ends[1]);
    const FileDescriptor report(ends[0]);
    const ssize_t told = awaited ? ::read(report.get(), &last, sizeof last) : 1;
    EXPECT_GT(told, 0);
    ::usleep(static_cast<useconds_t>(delayUs));
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    while (::read(report.get(), &last, sizeof last) > 0)
        continue;
    return last;
}

// Whether a writer continues the damaged history "h", sets it aside or refuses; only "whole" is left.
bool isContinued() {
    bool continued = false;
    try {
        HistoryWriter writer("h", kUnlimited);
        write(writer, writer.nextRecord(), writer.nextRecord());
        continued = readAll("h").records != 0;
    } catch (const HistoryException&) {
        continued = false;
    }
    for (const auto& entry : std::filesystem::directory_iterator("."))
        if (entry.path().filename() != "whole") std::filesystem::remove(entry.path());
    return continued;
}

}  // namespace

TEST(History, HoldsEveryRecordAfterAKill) {
    const int kills = isThorough() ? 100 : 8;
    std::mt19937 random(1);
    std::uint64_t written = 0;
    for (int kill = 0; kill < kills; ++kill) {
        written = killAfter(written, kill % 2 == 0, random() % 60'000);
        if (!std::filesystem::exists("h")) continue;
        EXPECT_EQ(shown(checkHistory("h").findings), "");
        const Found found = readAll("h");
        EXPECT_EQ(found.failures, 0U);
        EXPECT_TRUE(found.last == written || found.last == written + 1) << found.last << " " << written;
    }
    EXPECT_GT(written, 3U);
    EXPECT_EQ(asideOf("h"), "");
}

TEST(History, TellsDamageAndNeverAWrongRecord) {
    constexpr std::uint64_t kRecords = 70;
    {
        HistoryWriter writer("whole", kUnlimited);
        write(writer, 1, kRecords);
    }
    const std::string whole = contents("whole");
    const std::size_t step = isThorough() ? 13 : 1999;
    std::uint64_t failures = 0;
    std::uint64_t continued = 0;
    for (std::size_t place = 0; place < whole.size(); place += step) {
        std::string changed = whole;
        changed[place] = static_cast<char>(changed[place] ^ (1 << place % 8));
        for (const std::string& damaged : {whole.substr(0, place), changed}) {
            writeFile("h", damaged);
            failures += readAll("h").failures != 0 ? 1U : 0U;
            if (place % 5 == 0) continued += isContinued() ? 1U : 0U;
        }
    }
    EXPECT_GT(failures, whole.size() / step / 2);
    EXPECT_GT(continued, 0U);
}

TEST(History, StopsForLackOfRoomAndGoesOn) {
    HistoryWriter writer("h", kUnlimited);
    write(writer, 1, 100);
    for (const std::uint64_t next : {101U, 102U, 103U}) {
        {
            const FileSizeLimit limit(4096);
            EXPECT_EQ(write(writer, 1000, 1002), Outcome::kNoRoom);
        }
        EXPECT_EQ(write(writer, next, next), Outcome::kStored);
    }
    EXPECT_EQ(writer.dropped(), 9U);
    EXPECT_EQ(readAll("h").records, 103U);
    EXPECT_EQ(shown(checkHistory("h").findings), "");
    HistoryWriter reserved("reserved", {1ULL << 50U, 1ULL << 40U, 1ULL << 60U});
    EXPECT_EQ(write(reserved, 1, 2), Outcome::kNoRoom);
    EXPECT_EQ(reserved.dropped(), 2U);
}

TEST(History, DropsTheOldestGroupsByAgeAndSize) {
    HistoryWriter aged("aged", {1'000'000, 1ULL << 40U, 0});  // a hundred intervals
    write(aged, 1, 800);
    EXPECT_EQ(query("aged", "SELECT min(rec) FROM record"), 481);  // the group that ends 80 records before
    for (const char* table : {"usage", "body", "limits JOIN record ON rec >= first_rec"})
        EXPECT_EQ(query("aged", std::string("SELECT count(DISTINCT rec) FROM ") + table), 320) << table;
    EXPECT_EQ(query("aged", "SELECT min(first_rec) FROM protocol_span"), 481);
    EXPECT_EQ(query("aged", "PRAGMA freelist_count"), 0);
    EXPECT_EQ(readAll("aged").failures, 0U);
    // A clock that is ahead by a year takes the groups before, but the last one.
    Record late = s_engine.record(801);
    late.epochMs += 365LL * 24 * 60 * 60 * 1000;
    aged.write(late);
    EXPECT_EQ(query("aged", "SELECT min(rec) FROM record"), 721);

    {
        HistoryWriter whole("sized", kUnlimited);
        write(whole, 1, 600);
    }
    const std::uint64_t maxBytes = std::filesystem::file_size("sized") - 10'000;
    HistoryWriter sized("sized", {1ULL << 50U, maxBytes, 0});
    std::uint64_t most = 0;
    for (std::uint64_t number = 601; number <= 640; ++number) {
        ASSERT_EQ(sized.write(s_engine.record(number, 2)), Outcome::kStored);
        most = std::max(most, std::filesystem::file_size("sized") + std::filesystem::file_size("sized-wal"));
    }
    EXPECT_LT(most, maxBytes * 5 / 4);
    EXPECT_EQ(query("sized", "SELECT min(rec) FROM record"), 241);  // only what has to go
    EXPECT_EQ(readAll("sized").records, 400U);
    EXPECT_EQ(shown(checkHistory("sized").findings), "");
}

TEST(History, IsBoundedWhileAReaderHoldsAnOldState) {
    constexpr std::uint64_t kMaxBytes = 2'000'000;
    HistoryWriter writer("h", {1ULL << 50U, kMaxBytes, 0});
    write(writer, 1, 60);
    {
        SQLite::Database reader("h");
        reader.exec("BEGIN");
        reader.execAndGet("SELECT count(*) FROM record");
        EXPECT_EQ(write(writer, 61, 400), Outcome::kNoRoom);
        EXPECT_LT(std::filesystem::file_size("h-wal"), kMaxBytes * 3 / 4);
    }
    EXPECT_EQ(write(writer, 401, 401), Outcome::kStored);
    EXPECT_EQ(readAll("h").last, 401U);
}

TEST(History, IsReadWhileItsOldestRecordsGo) {
    HistoryWriter writer("h", {1'000'000, 1ULL << 40U, 0});  // a hundred intervals
    const auto writeTo = [&](std::uint64_t last) {
        for (std::uint64_t number = writer.nextRecord(); number <= last; ++number)
            writer.write(s_engine.record(number));
    };
    writeTo(240);
    HistoryReader reader("h");
    reader.goTo(10);
    writeTo(600);
    EXPECT_EQ(reader.previous(), nullptr);
    EXPECT_EQ(textOf(*reader.next()), textOf(s_engine.record(481)));
    std::atomic<bool> isWritten{false};
    std::uint64_t failures = 0;
    std::thread other([&] {
        while (!isWritten)
            failures += readAll("h").failures;
    });
    writeTo(1100);
    isWritten = true;
    other.join();
    EXPECT_EQ(failures, 0U);
}

TEST(History, IsWrittenByOneProgramThatKnowsIt) {
    HistoryWriter writer("h", kUnlimited);
    write(writer, 1, 1);
    std::filesystem::create_symlink("h", "link");
    for (const char* path : {"h", "link"})
        EXPECT_EQ(failure([&] { const HistoryWriter second(path, kUnlimited); }).substr(0, 24),
                  L"HistoryException: locked")
            << path;
    std::filesystem::rename("h", "moved");
    EXPECT_EQ(failure([&] { write(writer, 2, 2); }).substr(0, 23), L"HistoryException: moved");

    const std::tuple<const char*, const char*> rows[] = {{"PRAGMA user_version = 2", "newer 2 > 1"},
                                                         {"PRAGMA application_id = 7", "foreign"}};
    for (const auto& [sql, wanted] : rows) {
        std::filesystem::remove("other");
        { const HistoryWriter created("other", kUnlimited); }
        change("other", sql);
        const std::string before = contents("other");
        EXPECT_NE(failure([] { const HistoryWriter refused("other", kUnlimited); }).find(widen(wanted)), String::npos)
            << wanted;
        EXPECT_NE(failure([] { const HistoryReader refused("other"); }).find(widen(wanted)), String::npos) << wanted;
        EXPECT_EQ(contents("other"), before);
    }
    writeFile("text", "Dear administrator,\n");
    EXPECT_EQ(failure([] { const HistoryWriter refused("text", kUnlimited); }).substr(0, 25),
              L"HistoryException: foreign");
    EXPECT_EQ(contents("text"), "Dear administrator,\n");
    EXPECT_EQ(asideOf("other"), "");
}

TEST(History, SetsADamagedOrOlderOneAsideWithItsLog) {
    { const HistoryWriter created("old", kUnlimited); }
    change("old", "PRAGMA user_version = 0");
    EXPECT_EQ(HistoryWriter("old", kUnlimited).notice().substr(0, 5), L"older");
    EXPECT_NE(asideOf("old"), "");
    { const HistoryWriter created("h", kUnlimited); }
    change("h", "DROP TABLE wait");
    writeFile("h-wal", "torn");
    HistoryWriter writer("h", kUnlimited);
    EXPECT_EQ(writer.notice().substr(0, 7), L"damaged");
    EXPECT_EQ(write(writer, 1, 1), Outcome::kStored);
    EXPECT_EQ(readAll("h").records, 1U);
    EXPECT_NE(asideOf("h"), "");
}

TEST(History, GoesOnAsASinkAfterFailures) {
    writeFile("h", std::string("SQLite format 3\0 and no more", 28));
    String notices;
    HistorySink sink("h", {1ULL << 50U, 1ULL << 40U, 0}, [&](const String& notice) { notices += notice; });
    const auto write = [&](std::uint64_t number) {
        sink.write(std::make_shared<const Record>(s_engine.record(number, 4)));
    };
    EXPECT_EQ(sink.open()->number, 0U);
    EXPECT_EQ(notices.substr(0, 7), L"damaged");
    write(1);
    {
        const FileSizeLimit limit(4096);
        EXPECT_EQ(failure([&] { write(2); }), L"HistoryException: no room for h");
    }
    std::filesystem::rename("h", "moved");
    EXPECT_EQ(failure([&] { write(3); }).substr(0, 23), L"HistoryException: moved");
    write(4);
    EXPECT_GT(sink.bytes(), 0U);
    EXPECT_EQ(readAll("moved").last, 1U);
    EXPECT_EQ(readAll("h").last, 4U);
    sink.close();
    EXPECT_EQ(sink.open()->run, 4U);
}

TEST(History, IsReadWithoutWriteAccess) {
    const auto permit = [](std::filesystem::perms files, std::filesystem::perms directory) {
        for (const char* path : {"d/h ?", "d/h ?-wal", "d/h ?-shm"})
            if (std::filesystem::exists(path)) std::filesystem::permissions(path, files);
        std::filesystem::permissions("d", directory);
    };
    constexpr auto kReadFile = std::filesystem::perms(0400);
    constexpr auto kReadDirectory = std::filesystem::perms(0500);
    std::filesystem::create_directory("d");
    keepToPermissions();
    {
        HistoryWriter writer("d/h ?", kUnlimited);
        write(writer, 1, 5);
        permit(kReadFile, kReadDirectory);
        EXPECT_EQ(readAll("d/h ?").records, 5U) << "while it is written";
        permit(std::filesystem::perms(0600), std::filesystem::perms(0700));
    }
    permit(kReadFile, kReadDirectory);
    HistoryReader reader("d/h ?");
    EXPECT_EQ(reader.next()->number, 1U);
    permit(std::filesystem::perms(0600), std::filesystem::perms(0700));
    HistoryWriter writer("d/h ?", kUnlimited);
    write(writer, 6, 6);
    permit(kReadFile, kReadDirectory);
    EXPECT_EQ(reader.at(LivelyEngine::epochOf(6))->number, 6U);
    EXPECT_EQ(reader.previous()->number, 5U);
    permit(std::filesystem::perms(0600), std::filesystem::perms(0700));
}

TEST(History, IsCopiedAndChecked) {
    HistoryWriter writer("h", kUnlimited);
    for (std::uint64_t number = 1; number <= 100; ++number) {
        Record record = s_engine.record(number);
        record.waits.clear();
        if (number > 20 && number <= 30) {
            record.waits = {{record.files[0].name, record.files[0].name, 7, 1, LivelyEngine::epochOf(21), number},
                            {record.files[0].name, record.files[1].name, 7, 1, LivelyEngine::epochOf(21), number}};
            record.events = {{EventKind::kResumed, 1, 2, {}, number, "again"}};
        }
        writer.write(record);
    }
    backUpHistory("h", "copy");
    EXPECT_EQ(std::filesystem::status("copy").permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(checkHistory("copy").records, 100U);
    EXPECT_EQ(shown(checkHistory("copy").findings), "");
    EXPECT_NE(failure([] { backUpHistory("h", "copy"); }).find(L"unusable copy"), String::npos);
    const std::pair<const char*, const char*> changes[] = {
        {"UPDATE record_numbers SET locks_current = 999 WHERE rec = 7", "7 differs in record_numbers; "},
        {"INSERT INTO limits(first_rec, users_max) VALUES(100, 3)", "100 differs in limits; "},
        {"DELETE FROM protocol_span WHERE first_rec = 8 AND place = 0", "8 differs in protocol_span; "},
        {"UPDATE wait SET last_rec = 29 WHERE id = 2", "29 differs in wait; 30 differs in wait; "},
        {"UPDATE wait SET waited_ms = 1 WHERE id = 1", "30 differs in wait; "},
        {"INSERT INTO wait SELECT NULL, 31, 31, '', '', 0, 'file', 0, 0", "31 differs in wait; "},
        {"UPDATE event SET count = 1 WHERE rec = 22", "22 differs in event; "},
        {"DELETE FROM event WHERE rec = 30", "30 differs in event; "},
        {"UPDATE body SET body = x'00' WHERE rec = 50", "changed record 50 damaged; lost 50 to 100; "},
        {"UPDATE record_numbers SET took_us = 1 WHERE rec = 60", "changed record 60 damaged; lost 60 to 100; "}};
    for (const auto& [sql, findings] : changes) {
        std::filesystem::copy_file("copy", "changed", std::filesystem::copy_options::overwrite_existing);
        change("changed", sql);
        EXPECT_EQ(shown(checkHistory("changed").findings), findings) << sql;
    }
    // A copy is a history that can be continued.
    HistoryWriter again("copy", kUnlimited);
    EXPECT_EQ(write(again, 101, 101), Outcome::kStored);
    EXPECT_EQ(HistoryReader("copy").last()->number, 101U);
}
