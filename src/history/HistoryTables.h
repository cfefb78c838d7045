// SPDX-License-Identifier: MIT
// What a history tells without unpacking its records: their numbers, waits as episodes, events and runs.
#ifndef VEXO_HISTORY_HISTORYTABLES_H
#define VEXO_HISTORY_HISTORYTABLES_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryFile.h"
#include "history/RecordMark.h"
#include "record/Record.h"

namespace vexo {

// The numbers of a record.
struct RecordNumbers {
    std::uint64_t number = 0;
    std::uint64_t run = 0;
    std::int64_t epochMs = 0;
    std::int64_t monotonicUs = 0;  // to the millisecond; compares within a run only
    std::uint64_t tookUs = 0;
    std::uint64_t items = 0;  // lines between the first and the last
    bool isKey = false;       // packed on its own, so that it is read with the least effort
    // None, and no protocols, where the section was off or failed.
    std::optional<Usage> usage;
    std::optional<Communication> communication;  // without the further counts
    std::vector<ProtocolItem> protocols;
};

// An unbroken row of records that show a client waiting. Texts are UTF-8, wrong bytes U+FFFD.
struct WaitEpisode {
    RecordRange records;
    std::int64_t sinceMs = 0;    // UTC, milliseconds since 1970
    std::uint64_t waitedMs = 0;  // at least: until the last record
    std::string file;
    std::string client;
    std::uint32_t clientIndex = 0;
    std::string kind;  // the word of what it waits for; the number of an unknown code
};

struct HistoryEvent {
    std::uint64_t record = 0;
    EventItem event;
};

struct HistoryRun {
    std::uint64_t run = 0;
    std::int64_t epochMs = 0;  // when its first record began
    std::string server;
    std::string engineVersion;  // empty where it is not known
    std::optional<std::uint32_t> engineType;
    std::uint64_t intervalMs = 0;  // 0 where none was planned
    HandleScope scope = HandleScope::kNone;
};

// The records of a span of time.
struct HistorySpan {
    RecordMark first;
    RecordMark last;
    std::uint64_t records = 0;  // from the first to the last
    // Of all of them; where the clock was set these are others' times than those of the first and the last one.
    std::int64_t earliestMs = 0;
    std::int64_t latestMs = 0;
};

// Hands over row by row, in the order of the records, and holds on to no state of the file meanwhile: what the writer
// drops is left out, from somewhere on. For use by one thread. The operations throw HistoryException.
class HistoryTables {
public:
    template <typename Row>
    using Visit = std::function<void(const Row&)>;

    explicit HistoryTables(const std::string& path) : m_history(path) {}

    // From the first to the last record that began within these instants, both inclusive (UTC, milliseconds since 1970).
    // None where there is no such. A clock that was set back puts others between them.
    std::optional<HistorySpan> span(std::int64_t fromMs, std::int64_t toMs);

    void forEachRecord(RecordRange range, const Visit<RecordNumbers>& visit);
    // Those that any record of the range shows, even if they began before it.
    void forEachWait(RecordRange range, const Visit<WaitEpisode>& visit);
    // Those that begin with a record of the range.
    void forEachWaitBegun(RecordRange range, const Visit<WaitEpisode>& visit);
    void forEachEvent(RecordRange range, const Visit<HistoryEvent>& visit);
    // Those that have records in the range.
    std::vector<HistoryRun> runs(RecordRange range);

private:
    ReadableHistory m_history;
};

}  // namespace vexo

#endif
