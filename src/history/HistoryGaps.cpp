// SPDX-License-Identifier: MIT
#include "history/HistoryGaps.h"

#include <SQLiteCpp/Statement.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "history/Schema.h"

namespace vexo {
namespace {

constexpr std::uint64_t kLastNumber = INT64_MAX;

// What is looked at of a record.
struct Instant {
    std::uint64_t record = 0;
    std::int64_t run = 0;
    std::int64_t epochMs = 0;
    std::int64_t monotonicMs = 0;
};

struct Run {
    std::string boot;
    std::int64_t intervalMs = 0;  // 0 where none was planned
};

// Looks at two records at a time, which may come in either order.
class GapFinder {
public:
    explicit GapFinder(SQLite::Database& database) {
        SQLite::Statement rows(database, "SELECT run, ifnull(boot_id, ''), ifnull(interval_ms, 0) FROM run");
        while (rows.executeStep()) {
            m_runs[rows.getColumn(0).getInt64()] = {rows.getColumn(1).getString(), rows.getColumn(2).getInt64()};
        }
    }

    std::optional<Gap> between(const Instant& before, const Instant& behind) const {
        const Run& run = runOf(before.run);
        const bool isNewRun = before.run != behind.run;
        const bool sameClock = !isNewRun || (!run.boot.empty() && run.boot == runOf(behind.run).boot);
        const std::int64_t passedMs =
            sameClock ? behind.monotonicMs - before.monotonicMs : behind.epochMs - before.epochMs;
        // 2.5 intervals.
        const bool isLong = run.intervalMs != 0 && passedMs > run.intervalMs * 5 / 2;
        if (!isNewRun && !isLong) return std::nullopt;
        return Gap{markOf(before), markOf(behind), std::max<std::int64_t>(passedMs, 0), isNewRun};
    }

private:
    const Run& runOf(std::int64_t number) const {
        static const Run kUnknown;
        const auto found = m_runs.find(number);
        return found != m_runs.end() ? found->second : kUnknown;
    }
    static RecordMark markOf(const Instant& instant) { return {instant.record, instant.epochMs}; }

    std::map<std::int64_t, Run> m_runs;
};

SQLite::Statement instants(SQLite::Database& database, const char* order, RecordRange range) {
    SQLite::Statement rows(
        database, std::string("SELECT rec, run, epoch_ms, monotonic_ms FROM record_numbers WHERE rec BETWEEN ? AND ? "
                              "ORDER BY rec ") +
                      order);
    rows.bind(1, sqlNumber(range.first));
    rows.bind(2, sqlNumber(range.last));
    return rows;
}

Instant instantOf(SQLite::Statement& row) {
    return {static_cast<std::uint64_t>(row.getColumn(0).getInt64()), row.getColumn(1).getInt64(),
            row.getColumn(2).getInt64(), row.getColumn(3).getInt64()};
}

// The number of the last record before this one; 0 without.
std::uint64_t numberBefore(SQLite::Database& database, std::uint64_t record) {
    SQLite::Statement before(database, "SELECT ifnull(max(rec), 0) FROM record_numbers WHERE rec < ?");
    before.bind(1, sqlNumber(record));
    before.executeStep();
    return static_cast<std::uint64_t>(before.getColumn(0).getInt64());
}

// The number of the first record that has at least this one.
std::uint64_t numberFrom(SQLite::Database& database, std::uint64_t record) {
    SQLite::Statement from(database, "SELECT ifnull(min(rec), 0) FROM record_numbers WHERE rec >= ?");
    from.bind(1, sqlNumber(record));
    from.executeStep();
    return static_cast<std::uint64_t>(from.getColumn(0).getInt64());
}

std::optional<Gap> firstGap(SQLite::Database& database, RecordRange range) {
    const GapFinder finder(database);
    SQLite::Statement rows = instants(database, "ASC", range);
    if (!rows.executeStep()) return std::nullopt;
    Instant before = instantOf(rows);
    while (rows.executeStep()) {
        const Instant behind = instantOf(rows);
        if (const auto gap = finder.between(std::exchange(before, behind), behind)) return gap;
    }
    return std::nullopt;
}

std::optional<Gap> lastGap(SQLite::Database& database, RecordRange range) {
    const GapFinder finder(database);
    SQLite::Statement rows = instants(database, "DESC", range);
    if (!rows.executeStep()) return std::nullopt;
    Instant behind = instantOf(rows);
    while (rows.executeStep()) {
        const Instant before = instantOf(rows);
        if (const auto gap = finder.between(before, std::exchange(behind, before))) return gap;
    }
    return std::nullopt;
}

}  // namespace

std::optional<Gap> HistoryGaps::next(std::uint64_t record) {
    return m_history.read([&](SQLite::Database& database) {
        return firstGap(database, {numberBefore(database, record + 1), kLastNumber});
    });
}

std::optional<Gap> HistoryGaps::previous(std::uint64_t record) {
    return m_history.read([&](SQLite::Database& database) -> std::optional<Gap> {
        return lastGap(database, {0, numberBefore(database, record)});
    });
}

std::optional<Gap> HistoryGaps::before(std::uint64_t record) {
    return m_history.read([&](SQLite::Database& database) -> std::optional<Gap> {
        return firstGap(database, {numberBefore(database, record), record});
    });
}

std::optional<Gap> HistoryGaps::behind(std::uint64_t record) {
    return m_history.read([&](SQLite::Database& database) -> std::optional<Gap> {
        return firstGap(database, {record, numberFrom(database, record + 1)});
    });
}

void HistoryGaps::forEach(RecordRange range, const Visit& visit) {
    const auto find = [this](RecordRange rest) {
        return m_history.read([&](SQLite::Database& database) { return firstGap(database, rest); });
    };
    for (auto gap = find(range); gap; gap = find({gap->behind.number, range.last}))
        visit(*gap);
}

}  // namespace vexo
