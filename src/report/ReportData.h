// SPDX-License-Identifier: MIT
// What a report tells, as plain values.
#ifndef VEXO_REPORT_REPORTDATA_H
#define VEXO_REPORT_REPORTDATA_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "history/RecordMark.h"
#include "record/Record.h"
#include "report/Buckets.h"
#include "report/ReportText.h"

namespace vexo {

// What is drawn over time.
enum class Series : std::uint8_t {
    kSessions,
    kConnections,
    kHandles,
    kLocks,
    kTransactions,
    kWaiting,
    kRequests,
    kRecordsRead,
    kRecordsWritten,
    kDataInUse,
};
inline constexpr std::size_t kSeries = 10;

struct SeriesData {
    explicit SeriesData(const Buckets& empty) : buckets(empty) {}

    void add(std::int64_t epochMs, double value) {
        buckets.add(epochMs, value);
        all.add(epochMs, value);
    }

    // What held from one instant to another.
    void addBetween(std::int64_t startMs, std::int64_t endMs, double value) {
        for (std::int64_t at = endMs; at > startMs; at -= buckets.stepMs())
            buckets.add(at, value);
        all.add(endMs, value);
    }

    Buckets buckets;
    Statistics all;
    std::optional<double> limit;
    std::int64_t bridgeMs = 0;  // so far apart are measurements between which nothing is missing
    bool isSampled = false;     // from some records only
};

// A stretch of time that no record tells about, from the last record before it to the first one behind it.
struct ReportGap {
    enum class Cause : std::uint8_t {
        kNoAnswer,    // records tell that the engine did not answer
        kNoRecorder,  // another run of the recorder followed
        kNoRecords,   // the recorder ran, and stored nothing
    };
    std::int64_t startMs = 0;
    std::int64_t endMs = 0;  // before the start where the clock was set back meanwhile
    std::uint64_t lengthMs = 0;
    Cause cause = Cause::kNoRecords;
};

// Somebody who waits in a row of records. Texts of the engine are as the history has them.
struct ReportWait {
    RecordRange records;
    std::int64_t startMs = 0;
    std::int64_t endMs = 0;
    std::uint64_t lastedMs = 0;  // by the monotonic clock, from the first to the last record that shows it
    std::string file;
    std::string client;
    std::string kind;
    // Who may hold it, in the last record; none where the records do not tell.
    std::vector<std::string> holders;
    std::uint64_t moreHolders = 0;
};

// All waits of one client for one file.
struct WaitGroup {
    std::string file;
    std::string client;
    std::uint64_t count = 0;
    std::uint64_t totalMs = 0;
    std::uint64_t longestMs = 0;
    std::int64_t longestStartMs = 0;
};

// A bar of the timeline: one wait, or several for the same file that touch.
struct WaitBar {
    std::int64_t startMs = 0;
    std::int64_t endMs = 0;
};
struct WaitLane {
    std::string file;
    std::uint64_t count = 0;
    std::uint64_t totalMs = 0;
    std::vector<WaitBar> bars;  // in the order of their start
};

// Events of one kind with one text that follow each other.
struct EventRow {
    EventItem first;
    std::uint64_t count = 1;
    std::int64_t lastMs = 0;  // when the last one ended
};

// The use of a resource over the span, against its limit.
struct ResourceUse {
    const char* key = "";  // of its name in the bundle
    Quantity quantity = Quantity::kCount;
    Statistics current;
    std::uint64_t peak = 0;             // since the engine started, as the last record tells
    std::optional<std::int64_t> limit;  // the last one
    // The first one that was reached, and when: limits change with settings and servers.
    std::optional<std::int64_t> reachedLimit;
    std::int64_t reachedAtMs = 0;
};

struct ProtocolUse {
    std::int64_t type = 0;         // code
    std::uint64_t requests = 0;    // grown over the span
    std::uint64_t measuredMs = 0;  // the time in which they grew
    Statistics sessions;
};

// What grew over the span, for all sessions of one name.
struct SessionUse {
    std::string name;
    std::string address;  // of the last one
    std::uint64_t sessions = 0;
    std::uint64_t recordsRead = 0;
    std::uint64_t recordsWritten = 0;  // inserted, updated and deleted
    std::uint64_t diskAccesses = 0;
    std::uint64_t cacheAccesses = 0;
    std::uint64_t waitedMs = 0;
};

struct FileUse {
    std::string name;
    std::uint64_t sizeBytes = 0;  // in the last record that shows it
    std::int64_t grownBytes = 0;  // since the first one
    std::uint64_t mostHandles = 0;
    std::uint64_t waitedMs = 0;
};

// Of several things those that matter most, and how many there are.
template <typename Item>
struct Most {
    std::vector<Item> items;
    std::uint64_t all = 0;
};

struct ReportData {
    explicit ReportData(const Buckets& empty) : series(kSeries, SeriesData(empty)) {}

    SeriesData& of(Series which) { return series[static_cast<std::size_t>(which)]; }
    const SeriesData& of(Series which) const { return series[static_cast<std::size_t>(which)]; }

    std::string historyName;  // the last part of its path
    std::string server;
    std::int64_t firstMs = 0;  // of the first and the last record
    std::int64_t lastMs = 0;
    std::optional<std::int64_t> fromMs;  // what was asked for
    std::optional<std::int64_t> toMs;
    std::uint64_t records = 0;
    std::uint64_t items = 0;        // of all records
    std::uint64_t recordsRead = 0;  // of them, those whose sessions, files and connections were read
    std::int64_t madeMs = 0;
    std::string madeBy;  // version of the program

    std::vector<std::string> engineVersions;
    std::uint64_t runs = 0;
    std::vector<SeriesData> series;
    Most<ReportGap> gaps;  // the longest, in the order of time
    std::uint64_t gapsMs = 0;
    std::uint64_t unanswered = 0;  // records that hold no answer of the engine
    bool knowsWaits = true;        // else no handles were recorded
    Most<ReportWait> waits;        // the longest first; of those that were seen once, one at most
    std::uint64_t seenOnce = 0;
    std::uint64_t longWaits = 0;                          // those beyond kLongWaitMs
    std::map<std::string, std::uint64_t> waitedByClient;  // milliseconds
    std::map<std::string, std::uint64_t> waitedByFile;
    Most<WaitGroup> waitGroups;  // those that waited longest first
    std::vector<WaitLane> lanes;
    Most<EventRow> events;
    std::uint64_t eventsLeftOut = 0;       // behind those
    std::vector<std::int64_t> eventTimes;  // of all of them, ascending
    std::map<EventKind, std::uint64_t> eventCounts;
    std::vector<ResourceUse> resources;
    std::vector<ProtocolUse> protocols;
    Most<SessionUse> sessions;
    Most<FileUse> files;
    std::vector<RecordRange> damage;  // what cannot be read
};

// A chart has at most so many buckets.
inline constexpr std::size_t kMaxBuckets = 1200;
// A wait of this length counts as long.
inline constexpr std::uint64_t kLongWaitMs = 30'000;

}  // namespace vexo

#endif
