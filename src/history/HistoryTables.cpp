// SPDX-License-Identifier: MIT
#include "history/HistoryTables.h"

#include <SQLiteCpp/Statement.h>

#include "history/Schema.h"
#include "record/Codes.h"

namespace vexo {
namespace {

// So many rows are read at once.
constexpr int kPortion = 500;

// The columns of a row, one after the other.
class Columns {
public:
    explicit Columns(SQLite::Statement& row) : m_row(row) {}

    bool nextIsNull() { return m_row.getColumn(m_column).isNull(); }
    void pass(int columns) { m_column += columns; }
    // NULL counts as 0.
    template <typename Number>
    void operator()(Number& number) {
        number = static_cast<Number>(m_row.getColumn(m_column++).getInt64());
    }
    template <typename Number>
    void operator()(std::optional<Number>& number) {
        if (!nextIsNull()) number.emplace();
        number ? (*this)(*number) : pass(1);
    }
    void operator()(std::string& text) { text = m_row.getColumn(m_column++).getString(); }
    template <typename Enumeration>
    void word(Enumeration& value, std::optional<Enumeration> (*of)(std::string_view)) {
        std::string text;
        (*this)(text);
        value = of(text).value_or(value);
    }
    void limited(Amount& amount) {
        (*this)(amount.current);
        (*this)(amount.peak);
        (*this)(amount.limit);
    }

private:
    SQLite::Statement& m_row;
    int m_column = 0;
};

RecordNumbers numbersOf(SQLite::Statement& row) {
    RecordNumbers numbers;
    Columns columns(row);
    columns(numbers.number);
    columns(numbers.run);
    columns(numbers.epochMs);
    columns(numbers.monotonicUs);
    numbers.monotonicUs *= kMicrosPerMilli;
    columns(numbers.tookUs);
    columns(numbers.items);
    columns(numbers.isKey);
    return numbers;
}

Usage usageOf(Columns& columns) {
    Usage usage;
    for (Amount* amount :
         {&usage.users, &usage.files, &usage.handles, &usage.transactions, &usage.clients, &usage.workerThreads}) {
        columns.limited(*amount);
    }
    columns(usage.locks.current);
    columns(usage.locks.peak);
    columns.limited(usage.dataInUseBytes);
    columns.limited(usage.sessions);
    columns(usage.uptimeSeconds);
    return usage;
}

Communication communicationOf(Columns& columns) {
    Communication communication;
    columns(communication.requests);
    columns.limited(communication.remoteSessions);
    columns.limited(communication.threads);
    columns(communication.connectionTimeouts);
    columns(communication.connectionRecoveries);
    return communication;
}

ProtocolItem protocolOf(Columns& columns) {
    ProtocolItem protocol;
    columns(protocol.type);
    columns(protocol.requests);
    columns(protocol.sessionsCurrent);
    columns(protocol.sessionsPeak);
    return protocol;
}

// The rows of a table that has none, one or several for a record, joined to `rows`, which are in the order of records.
template <typename Add>
void join(SQLite::Database& database, const char* query, std::vector<RecordNumbers>& rows, Add add) {
    if (rows.empty()) return;
    SQLite::Statement statement(database, query);
    statement.bind(1, sqlNumber(rows.front().number));
    statement.bind(2, sqlNumber(rows.back().number));
    auto row = rows.begin();
    while (statement.executeStep()) {
        Columns columns(statement);
        std::uint64_t record = 0;
        columns(record);
        while (row != rows.end() && row->number < record)
            ++row;
        if (row == rows.end()) return;
        if (row->number == record) add(*row, columns);
    }
}

std::vector<RecordNumbers> numbersIn(SQLite::Database& database, RecordRange range) {
    SQLite::Statement records(
        database,
        "SELECT rec, run, epoch_ms, monotonic_ms, took_us, items, rec = key_rec FROM record_numbers "
        "WHERE rec BETWEEN ? AND ? ORDER BY rec LIMIT ?");
    records.bind(1, sqlNumber(range.first));
    records.bind(2, sqlNumber(range.last));
    records.bind(3, kPortion);
    std::vector<RecordNumbers> rows;
    while (records.executeStep())
        rows.push_back(numbersOf(records));
    join(database, "SELECT * FROM usage WHERE rec BETWEEN ? AND ? ORDER BY rec", rows,
         [](RecordNumbers& row, Columns& columns) { row.usage = usageOf(columns); });
    join(database, "SELECT * FROM communication WHERE rec BETWEEN ? AND ? ORDER BY rec", rows,
         [](RecordNumbers& row, Columns& columns) { row.communication = communicationOf(columns); });
    join(database,
         // As the view tells, but from the rows to the records: from each record to its rows takes ten times as long.
         "SELECT rec, type, p.requests, p.remote_sessions_current, p.remote_sessions_peak FROM protocol_span p "
         "CROSS JOIN record_numbers ON rec BETWEEN first_rec AND ifnull(last_rec, first_rec) "
         "WHERE first_rec BETWEEN (SELECT key_rec FROM record_numbers WHERE rec = ?1) AND ?2 AND rec BETWEEN ?1 AND ?2 "
         "ORDER BY rec, place",
         rows, [](RecordNumbers& row, Columns& columns) { row.protocols.push_back(protocolOf(columns)); });
    return rows;
}

WaitEpisode waitOf(SQLite::Statement& row) {
    WaitEpisode wait;
    Columns columns(row);
    columns.pass(1);
    columns(wait.records.first);
    columns(wait.records.last);
    columns(wait.file);
    columns(wait.client);
    columns(wait.clientIndex);
    columns(wait.kind);
    columns(wait.sinceMs);
    columns(wait.waitedMs);
    return wait;
}

HistoryEvent eventOf(SQLite::Statement& row) {
    HistoryEvent found;
    EventItem& event = found.event;
    Columns columns(row);
    columns.pass(1);
    columns(found.record);
    columns(event.startMs);
    columns(event.endMs);
    event.startMs /= kMicrosPerMilli;
    if (event.endMs) *event.endMs /= kMicrosPerMilli;
    columns.word(event.kind, eventKindOf);
    columns(event.status);
    columns(event.text);
    columns(event.count);
    return found;
}

// Visits the rows of a table from one record on, in the order of their record and their identifier, as long as `condition`
// holds, portion by portion. Its two parameters are the ends of the range.
template <typename Content, typename Visit>
void forEachIdentified(ReadableHistory& history, const std::string& table, std::uint64_t from,
                       const std::string& condition, RecordRange range, Content (*contentOf)(SQLite::Statement&),
                       const Visit& visit) {
    const std::string key = table == "wait" ? "first_rec" : "rec";
    const std::string query = "SELECT * FROM " + table + " WHERE (" + key + ", id) > (?, ?) AND " + condition +
                              " ORDER BY " + key + ", id LIMIT ?";
    std::vector<Content> rows;
    std::int64_t record = sqlNumber(from) - 1;
    std::int64_t id = INT64_MAX;
    do {
        rows.clear();
        history.read([&](SQLite::Database& database) {
            SQLite::Statement statement(database, query);
            int parameter = 0;
            for (const std::int64_t value : {record, id, sqlNumber(range.first), sqlNumber(range.last)})
                statement.bind(++parameter, value);
            statement.bind(++parameter, kPortion);
            while (statement.executeStep()) {
                id = statement.getColumn(0).getInt64();
                record = statement.getColumn(1).getInt64();
                rows.push_back(contentOf(statement));
            }
        });
        for (const Content& row : rows)
            visit(row);
    } while (rows.size() == kPortion);
}

}  // namespace

std::optional<HistorySpan> HistoryTables::span(std::int64_t fromMs, std::int64_t toMs) {
    return m_history.read([&](SQLite::Database& database) -> std::optional<HistorySpan> {
        SQLite::Statement ends(
            database,
            "SELECT f.rec, f.epoch_ms, l.rec, l.epoch_ms, count(*), min(r.epoch_ms), max(r.epoch_ms) FROM "
            "(SELECT min(rec) AS first, max(rec) AS last FROM record_numbers WHERE epoch_ms BETWEEN ? AND ?) "
            "JOIN record_numbers f ON f.rec = first JOIN record_numbers l ON l.rec = last "
            "JOIN record_numbers r ON r.rec BETWEEN first AND last");
        ends.bind(1, fromMs);
        ends.bind(2, toMs);
        if (!ends.executeStep() || ends.getColumn(0).isNull()) return std::nullopt;
        HistorySpan span;
        Columns columns(ends);
        for (RecordMark* mark : {&span.first, &span.last}) {
            columns(mark->number);
            columns(mark->epochMs);
        }
        columns(span.records);
        columns(span.earliestMs);
        columns(span.latestMs);
        return span;
    });
}

void HistoryTables::forEachRecord(RecordRange range, const Visit<RecordNumbers>& visit) {
    std::vector<RecordNumbers> rows;
    do {
        rows = m_history.read([&](SQLite::Database& database) { return numbersIn(database, range); });
        for (const RecordNumbers& row : rows)
            visit(row);
        if (!rows.empty()) range.first = rows.back().number + 1;
    } while (rows.size() == kPortion);
}

void HistoryTables::forEachWait(RecordRange range, const Visit<WaitEpisode>& visit) {
    forEachIdentified(m_history, "wait", 0, "last_rec >= ? AND first_rec <= ?", range, waitOf, visit);
}

void HistoryTables::forEachWaitBegun(RecordRange range, const Visit<WaitEpisode>& visit) {
    forEachIdentified(m_history, "wait", range.first, "first_rec BETWEEN ? AND ?", range, waitOf, visit);
}

void HistoryTables::forEachEvent(RecordRange range, const Visit<HistoryEvent>& visit) {
    forEachIdentified(m_history, "event", range.first, "rec BETWEEN ? AND ?", range, eventOf, visit);
}

std::vector<HistoryRun> HistoryTables::runs(RecordRange range) {
    return m_history.read([&](SQLite::Database& database) {
        // Runs follow each other as the records do.
        SQLite::Statement rows(
            database,
            "SELECT run, start_us, server, engine_version, engine_type, interval_ms, handles FROM run "
            "WHERE run BETWEEN (SELECT run FROM record_numbers WHERE rec >= ? ORDER BY rec LIMIT 1) "
            "AND (SELECT run FROM record_numbers WHERE rec <= ? ORDER BY rec DESC LIMIT 1) ORDER BY run");
        rows.bind(1, sqlNumber(range.first));
        rows.bind(2, sqlNumber(range.last));
        std::vector<HistoryRun> runs;
        while (rows.executeStep()) {
            HistoryRun& run = runs.emplace_back();
            Columns columns(rows);
            columns(run.run);
            columns(run.epochMs);
            run.epochMs /= kMicrosPerMilli;
            columns(run.server);
            columns(run.engineVersion);
            columns(run.engineType);
            columns(run.intervalMs);
            columns.word(run.scope, scopeOf);
        }
        return runs;
    });
}

}  // namespace vexo
