// SPDX-License-Identifier: MIT
// Texts that users write and read: instants, lengths of time, names on a screen.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

#include "record/Duration.h"
#include "record/PointInTime.h"
#include "record/SafeText.h"
#include "record/Timestamp.h"

namespace vexo {

namespace {

class InCentralEurope : public testing::Test {
protected:
    InCentralEurope() {
        ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        ::tzset();
    }
    ~InCentralEurope() override {
        ::unsetenv("TZ");
        ::tzset();
    }
};

TEST_F(InCentralEurope, ReadsEveryFormOfAnInstant) {
    constexpr std::int64_t kNow = 1'774'780'200'500;  // on the morning when the clocks went forward
    ASSERT_EQ(timestamp(kNow), "2026-03-29T10:30:00.500Z");
    const std::vector<std::pair<const char*, const char*>> kRead = {
        {"2026-11-21T14:00", "2026-11-21T13:00:00.000Z"},
        {"2026-07-21T14:00:05", "2026-07-21T12:00:05.000Z"},
        {"2026-11-21T14:00Z", "2026-11-21T14:00:00.000Z"},
        {"2026-11-21T14:00:05+01:00", "2026-11-21T13:00:05.000Z"},
        {"2026-11-21T14:00:05-0330", "2026-11-21T17:30:05.000Z"},
        {"2026-11-21T14:00:05.123Z", "2026-11-21T14:00:05.123Z"},    // of a record
        {"2026-11-21 14:03:20 +01:00", "2026-11-21T13:03:20.000Z"},  // of a screen
        {"2028-02-29", "2028-02-28T23:00:00.000Z"},
        {"2026-10-25T02:30", "2026-10-25T00:30:00.000Z"},  // shown twice
        {"2026-03-29T02:30", "2026-03-29T01:30:00.000Z"},  // left out
        {"12:30:00", "2026-03-29T10:30:00.000Z"},          // today
        {"12:31", "2026-03-28T11:31:00.000Z"},             // yesterday, in winter time
        {"01:30", "2026-03-29T00:30:00.000Z"},
        {"-2h", "2026-03-29T08:30:00.500Z"},
        {"-90", "2026-03-29T10:28:30.500Z"},
        {"@1795269600", "2026-11-21T14:00:00.000Z"},
    };
    for (const auto& [text, instant] : kRead) {
        const auto read = parsePointInTime(text, kNow);
        ASSERT_TRUE(read) << text;
        EXPECT_EQ(timestamp(*read), instant) << text;
    }
    EXPECT_EQ(timestamp(*parsePointInTime("2026-10-25T02:30", kNow, TwiceShown::kLast)), "2026-10-25T01:30:00.000Z");
    EXPECT_EQ(timestamp(*parsePointInTime("02:30", 1'792'889'400'000)),
              "2026-10-25T00:30:00.000Z");  // 02:50, the first
    for (const char* const refused : {"",
                                      "-",
                                      "@",
                                      "yesterday",
                                      "2026-02-29",
                                      "2026-13-01",
                                      "2026-11-21T",
                                      "2026-11-21T24:00",
                                      "2026-11-21T14",
                                      "2026-11-21T14:00+1",
                                      "2026-11-21T14:00Z ",
                                      "14:0",
                                      "14:60",
                                      "14:00x",
                                      "-2w",
                                      "--2h",
                                      "-2h1",
                                      "@1x",
                                      "@-",
                                      "-99999999999999999999h",
                                      "@9223372036854775807",
                                      "2026-11-+1",
                                      "2026-11-21T-1:00"})
        EXPECT_FALSE(parsePointInTime(refused, kNow)) << refused;
    EXPECT_EQ(localTime(kNow), "2026-03-29 12:30:00 +02:00");
    EXPECT_EQ(localTime(-1), "1970-01-01 00:59:59 +01:00");
}

TEST(Duration, HasAUnitOrIsInSeconds) {
    const std::vector<std::pair<const char*, std::optional<std::int64_t>>> kTexts = {
        {"10", 10'000}, {"250ms", 250},     {"10s", 10'000}, {"15m", 900'000}, {"14d", 1'209'600'000},
        {"0", 0},       {"", std::nullopt}, {"s", {}},       {"-1s", {}},      {"1 s", {}},
        {"1.5h", {}},   {"+1", {}},         {"400000d", {}}, {"1y", {}},       {"10S", {}},
    };
    for (const auto& [text, length] : kTexts)
        EXPECT_EQ(parseDuration(text), length) << text;
}

TEST(SafeText, LetsNothingThroughThatMovesHidesOrTurnsText) {
    EXPECT_EQ(safeText("Zürich 東京 e\u0301 \\x1b"), "Zürich 東京 e\u0301 \\x1b");
    EXPECT_EQ(safeText(std::string_view("a\0b\x1b[31m\n\x7f\xc2\x9b\xff\xc3", 14)),
              R"(a\x00b\x1b[31m\x0a\x7f\x9b\xff\xc3)");
    EXPECT_EQ(safeText("\u202eexe.\u200b\ufeff\u2066\u2028\u00ad"),
              R"(\u{202e}exe.\u{200b}\u{feff}\u{2066}\u{2028}\u{ad})");
    EXPECT_EQ(safeText("\xed\xa0\x80\xf0\x9f\x98"), R"(\xed\xa0\x80\xf0\x9f\x98)");  // a surrogate, a cut character
}

}  // namespace

}  // namespace vexo
