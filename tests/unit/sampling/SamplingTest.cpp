// SPDX-License-Identifier: MIT
#include <algorithm>
#include <future>

#include "Support.h"
#include "sampling/Distributor.h"
#include "sampling/RecordQueue.h"
#include "sampling/Schedule.h"

namespace vexo {
namespace {

TEST(Schedule, SkipsTicksThatPassedAndNeverLeavesItsGrid) {
    // When the work of a tick was done, how many ticks it cost, and the next one.
    constexpr struct {
        std::int64_t doneUs;
        std::uint64_t missed;
        std::int64_t nextUs;
    } kRows[] = {
        {1000, 0, 1100}, {1050, 0, 1100}, {1199, 0, 1200}, {1200, 0, 1300}, {1299, 0, 1300},
        {1399, 0, 1400}, {1500, 1, 1600}, {1999, 3, 2000}, {1950, 0, 2000},  // before its tick
    };
    Schedule schedule(1000, 100);
    for (const auto& row : kRows) {
        EXPECT_EQ(schedule.advance(row.doneUs), row.missed) << row.doneUs;
        EXPECT_EQ(schedule.next(), row.nextUs) << row.doneUs;
    }
}

TEST(BackOff, GrowsToAMinuteAndIsNeverTheSameForAll) {
    BackOff pauses(1);
    BackOff others(2);
    bool differ = false;
    for (std::int64_t longest = 1'000'000; longest <= 64'000'000; longest *= 2) {
        const std::int64_t pause = pauses.next();
        EXPECT_LE(pause, std::min<std::int64_t>(longest, 60'000'000));
        EXPECT_GE(pause, std::min<std::int64_t>(longest, 60'000'000) * 3 / 4);
        differ |= pause != others.next();
    }
    EXPECT_TRUE(differ);
    pauses.reset();
    EXPECT_LE(pauses.next(), 1'000'000);
}

TEST(ClockWatch, TellsJumpsAndNoDrift) {
    ClockWatch watch;
    EXPECT_EQ(watch.jump(5'000'000, 0), 0);  // the first distance is what it is
    EXPECT_EQ(watch.jump(5'010'900, 10'000'000), 0);
    EXPECT_EQ(watch.jump(5'021'800, 20'000'000), 0);
    EXPECT_EQ(watch.jump(1'431'800, 30'000'000), -3'600'000);
    EXPECT_EQ(watch.jump(1'441'800, 40'000'000), 0);
    EXPECT_EQ(watch.jump(1'453'801, 50'000'000), 2001);
}

TEST(Repetition, IsToldLessAndLessOften) {
    constexpr std::int64_t kMinuteMs = 60'000;
    Repetition repetition;
    std::string told;
    // One every ten seconds for six hours, and another one two hours later.
    for (std::int64_t minutes = 0; minutes <= 360; ++minutes)
        for (std::int64_t tens = 0; tens < 6; ++tens)
            if (const auto leftOut = repetition.next(minutes * kMinuteMs + tens * 10'000))
                told += std::to_string(minutes) + "+" + std::to_string(*leftOut) + " ";
    EXPECT_EQ(told, "0+0 1+5 3+11 7+23 15+47 31+95 63+191 123+359 183+359 243+359 303+359 ");
    EXPECT_EQ(repetition.next(480 * kMinuteMs), 347U);
    EXPECT_EQ(repetition.next(481 * kMinuteMs), 0U);
}

RecordPtr numbered(std::uint64_t number, std::size_t handles = 0) {
    auto record = std::make_shared<Record>();
    record->number = number;
    record->fileHandles.resize(handles);
    return record;
}

std::vector<std::uint64_t> numbersOf(const std::vector<RecordPtr>& records) {
    std::vector<std::uint64_t> numbers(records.size());
    std::transform(records.begin(), records.end(), numbers.begin(),
                   [](const RecordPtr& record) { return record->number; });
    return numbers;
}

TEST(RecordQueue, DropsTheOldestBeyondEightRecordsOr64Megabytes) {
    using Numbers = std::vector<std::uint64_t>;
    RecordQueue queue;
    for (std::uint64_t number = 1; number <= 8; ++number)
        EXPECT_EQ(numbersOf(queue.put(numbered(number))), Numbers{});
    EXPECT_EQ(numbersOf(queue.put(numbered(9))), Numbers{1});
    EXPECT_EQ(queue.take()->number, 2U);
    constexpr std::size_t kThirtyMegabytes = std::size_t{30} * 1024 * 1024 / sizeof(FileHandleItem);
    EXPECT_EQ(numbersOf(queue.put(numbered(10, kThirtyMegabytes))), Numbers{});
    EXPECT_EQ(numbersOf(queue.put(numbered(11, kThirtyMegabytes))), Numbers{3});
    EXPECT_EQ(numbersOf(queue.put(numbered(12, kThirtyMegabytes))), (Numbers{4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(numbersOf(queue.put(numbered(13, 4 * kThirtyMegabytes))), (Numbers{11, 12}));  // one is always kept
    EXPECT_EQ(queue.take()->number, 13U);
    EXPECT_EQ(queue.take(), nullptr);
}

// A sink whose first write blocks until it is let go, and fails then.
struct StubbornSink : Sink {
    std::string name() const override { return "stubborn"; }
    std::optional<RecordPlace> open() override { return {}; }
    void write(const RecordPtr& record) override {
        if (taken.empty() && !std::exchange(failed, true)) {
            entered.set_value();
            go.get_future().wait();
            throw IOException(L"it is full");
        }
        taken.push_back(record);
    }
    bool failed = false;
    std::promise<void> entered;
    std::promise<void> go;
    std::vector<RecordPtr> taken;
};

TEST(Distributor, TellsDropsAndBringsTheEventsOfDroppedRecordsLater) {
    auto owned = std::make_unique<StubbornSink>();
    StubbornSink& sink = *owned;
    std::promise<void> finished;
    SinkRunners sinks;
    sinks.push_back(std::make_unique<SinkRunner>(std::move(owned), [&finished] { finished.set_value(); }));
    RecordPlan plan;
    plan.asks(Section::kUsage) = true;
    RecordFrame frame;
    frame.number = 7;
    Distributor records(plan, frame, sinks, false);
    sinks[0]->start();

    records.note(eventNow(EventKind::kStarted, L"first"));
    records.publishFailure(3005, L"lost");
    sink.entered.get_future().wait();
    for (int number = 8; number <= 18; ++number)
        records.publishFailure(3005, L"lost");  // 16 drops 8, 17 tells of it and drops 9, 18 drops 10
    sinks[0]->finish();
    sink.go.set_value();
    finished.get_future().wait();

    EXPECT_EQ(numbersOf(sink.taken), (std::vector<std::uint64_t>{11, 12, 13, 14, 15, 16, 17, 18}));
    EXPECT_EQ(sink.taken.at(0)->events.at(0).text, "first");
    EXPECT_EQ(sink.taken.at(0)->section(Section::kUsage).status, 3005);
    EXPECT_EQ(sink.taken.at(6)->events.at(0).count, 1U);
    const auto rest = sinks[0]->takeEvents(SinkRunner::Drops::kDue);
    ASSERT_EQ(rest.size(), 3U);
    EXPECT_EQ(rest[0].kind, EventKind::kSinkFailed);
    EXPECT_EQ(rest[1].kind, EventKind::kSinkRecovered);
    EXPECT_EQ(rest[2].count, 3U);
    EXPECT_EQ(sinks[0]->health().dropped, 4U);
    EXPECT_EQ(records.takeTexts().size(), 2U);
}

TEST(Distributor, TellsThatTroubleIsOverOnlyWhereItWasTold) {
    const SinkRunners none;
    Distributor records({}, {}, none, false);
    records.note(eventNow(EventKind::kConnected, L"found"));
    for (int times = 0; times < 3; ++times) {
        records.note(eventNow(EventKind::kConnectionLost, L"lost"));
        records.note(eventNow(EventKind::kConnected, L"found"));
    }
    EXPECT_EQ(records.takeTexts(), (std::vector<std::string>{"found", "lost", "found"}));
}

}  // namespace
}  // namespace vexo
