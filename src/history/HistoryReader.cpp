// SPDX-License-Identifier: MIT
#include "history/HistoryReader.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <algorithm>
#include <utility>

#include "history/Schema.h"

namespace vexo {
namespace {

// The columns of a row, as goTo() asks for them.
enum Column : int { kRecord, kRun, kEpoch, kMonotonic, kTook, kKey, kBody };

std::string_view bodyOf(SQLite::Statement& row) {
    const SQLite::Column body = row.getColumn(kBody);
    const auto* bytes = static_cast<const char*>(body.getBlob());
    return {bytes, static_cast<std::size_t>(body.getBytes())};
}

// Whether a text begins as the record of the row does. What follows has a checksum.
bool isOf(SQLite::Statement& row, std::string_view text) {
    const auto written = [&row](Column column) { return std::to_string(row.getColumn(column).getInt64()); };
    // No name can hold the quotes, because they are escaped there.
    const std::string_view frame = text.substr(0, text.find(",\"kind\":\"record\""));
    const std::string number = ",\"run\":" + written(kRun) + ",\"rec\":" + written(kRecord) + ",\"time\":\"";
    const std::string time = "\",\"epoch_ms\":" + written(kEpoch);
    return frame.size() < text.size() && frame.find(number) != std::string_view::npos && frame.size() > time.size() &&
           frame.substr(frame.size() - time.size()) == time;
}

}  // namespace

HistoryReader::HistoryReader(const std::string& path) : m_history(path) {
}

// One transaction for each operation: what the writer drops meanwhile stays until the end of it.
template <typename Action>
auto HistoryReader::read(Action action) {
    return m_history.read([&](SQLite::Database& database) {
        if (m_replacements != m_history.replacements()) m_place = {};
        m_replacements = m_history.replacements();
        return action(database);
    });
}

RecordPtr HistoryReader::at(std::int64_t epochMs) {
    return read([&](SQLite::Database& database) { return goTo(database, findAt(database, epochMs)); });
}

RecordPtr HistoryReader::next() {
    return read([&](SQLite::Database& database) {
        const Position target = find(database, "rec > ? ORDER BY rec", sqlNumber(m_place.record));
        // A damaged index can lead back.
        if (target.record != 0 && target.record <= m_place.record) failAt(m_target = m_place.record + 1);
        return goTo(database, target);
    });
}

RecordPtr HistoryReader::previous() {
    return read([&](SQLite::Database& database) {
        const Position target = find(database, "rec < ? ORDER BY rec DESC", sqlNumber(m_place.record));
        if (target.record != 0 && target.record >= m_place.record) failAt(m_target = m_place.record);
        return goTo(database, target);
    });
}

RecordPtr HistoryReader::goTo(std::uint64_t record) {
    return read([&](SQLite::Database& database) {
        return goTo(database, find(database, "rec >= ? ORDER BY rec", sqlNumber(record)));
    });
}

RecordPtr HistoryReader::first() {
    return goTo(0);
}

RecordPtr HistoryReader::last() {
    return read(
        [&](SQLite::Database& database) { return goTo(database, find(database, "rec > ? ORDER BY rec DESC", 0)); });
}

bool HistoryReader::hasNext() {
    return read([&](SQLite::Database& database) {
        return find(database, "rec > ? ORDER BY rec", sqlNumber(m_place.record)).record != 0;
    });
}

std::uint64_t HistoryReader::appendLines(std::uint64_t record, std::string& out) {
    return read([&](SQLite::Database& database) -> std::uint64_t {
        const Position target = find(database, "rec >= ? ORDER BY rec", sqlNumber(record));
        if (target.record == 0) return 0;
        if (target.record < record) failAt(m_target = record);  // a damaged index can lead back
        moveTo(database, target, [&](std::string_view text, SQLite::Statement& row) {
            if (!isOf(row, text)) failAt(target.record);
        });
        appendNdjsonLines(out, m_text.view());
        return target.record;
    });
}

std::uint64_t HistoryReader::numberAt(std::int64_t epochMs) {
    return read([&](SQLite::Database& database) { return findAt(database, epochMs).record; });
}

std::uint64_t HistoryReader::numberFrom(std::uint64_t record, std::int64_t records) {
    const bool isBehind = records > 0;
    const std::string far = "rec IN (SELECT rec FROM record_numbers WHERE rec " + std::string(isBehind ? ">" : "<") +
                            " ? ORDER BY rec" + (isBehind ? "" : " DESC") + " LIMIT " +
                            std::to_string(isBehind ? records : -records) + ") ORDER BY rec" +
                            (isBehind ? " DESC" : "");
    return read([&](SQLite::Database& database) { return find(database, far, sqlNumber(record)).record; });
}

RecordRange HistoryReader::passDamage() {
    return read([&](SQLite::Database& database) {
        const std::uint64_t first = m_target;
        const Position behind = find(database, "rec > ? AND rec = key_rec ORDER BY rec", sqlNumber(first));
        const Position last = behind.record != 0 ? find(database, "rec < ? ORDER BY rec DESC", sqlNumber(behind.record))
                                                 : find(database, "rec >= ? ORDER BY rec DESC", sqlNumber(first));
        m_place = {std::max(first, last.record), 0};
        return RecordRange{first, m_place.record};
    });
}

HistoryReader::Position HistoryReader::findAt(SQLite::Database& database, std::int64_t epochMs) const {
    // Within a group the clock does not go back.
    const Position key = find(database, "rec = key_rec AND epoch_ms <= ? ORDER BY epoch_ms DESC, rec DESC", epochMs);
    if (key.record == 0) return find(database, "rec > ? ORDER BY rec", 0);
    SQLite::Statement rows(database, "SELECT rec, key_rec, epoch_ms FROM record_numbers WHERE rec >= ? ORDER BY rec");
    rows.bind(1, sqlNumber(key.record));
    Position target = key;
    while (rows.executeStep() && rows.getColumn(1).getInt64() == sqlNumber(key.record) &&
           rows.getColumn(2).getInt64() <= epochMs) {
        target.record = static_cast<std::uint64_t>(rows.getColumn(0).getInt64());
    }
    return target;
}

HistoryReader::Position HistoryReader::find(SQLite::Database& database, const std::string& query,
                                            std::int64_t argument) const {
    SQLite::Statement statement(database, "SELECT rec, key_rec FROM record_numbers WHERE " + query + " LIMIT 1");
    statement.bind(1, argument);
    if (!statement.executeStep()) return {};
    return {static_cast<std::uint64_t>(statement.getColumn(0).getInt64()),
            static_cast<std::uint64_t>(statement.getColumn(1).getInt64())};
}

RecordPtr HistoryReader::goTo(SQLite::Database& database, const Position& target) {
    RecordPtr record;
    if (target.record == 0) return record;
    moveTo(database, target, [&](std::string_view text, SQLite::Statement& row) { record = parse(text, row); });
    return record;
}

// Unpacks the record and makes it the place, unless `look`, which is given its text and its row, throws.
template <typename Look>
void HistoryReader::moveTo(SQLite::Database& database, const Position& target, Look look) {
    m_target = target.record;
    SQLite::Statement rows(database,
                           "SELECT rec, run, epoch_ms, monotonic_ms, took_us, key_rec, body FROM record_numbers "
                           "JOIN body USING(rec) WHERE rec BETWEEN ? AND ? ORDER BY rec");
    const Buffer& text = unpackUpTo(target, rows);
    look(text.view(), rows);
    // The buffers of the chain are always the same two.
    std::swap(m_text, &text == m_chain.data() ? m_chain.front() : m_chain.back());
    m_place = target;
}

// Unpacks from the key record, or from the place if that lies on the way. Leaves `rows` at the target.
const Buffer& HistoryReader::unpackUpTo(const Position& target, SQLite::Statement& rows) {
    const bool fromPlace = m_place.key == target.key && m_place.record < target.record;
    rows.bind(1, sqlNumber(fromPlace ? m_place.record + 1 : target.key));
    rows.bind(2, sqlNumber(target.record));
    std::string_view against = fromPlace ? m_text.view() : std::string_view();
    std::size_t step = 0;
    while (rows.executeStep()) {
        Buffer& text = m_chain[step++ % m_chain.size()];
        const bool sameGroup = rows.getColumn(kKey).getInt64() == sqlNumber(target.key);
        if (!sameGroup || !m_unpacker.unpack(bodyOf(rows), against, text)) failAt(target.record);
        if (rows.getColumn(kRecord).getInt64() == sqlNumber(target.record)) return text;
        against = text.view();
    }
    failAt(target.record);
}

RecordPtr HistoryReader::parse(std::string_view text, SQLite::Statement& row) {
    const auto number = [&row](Column column) { return row.getColumn(column).getInt64(); };
    const auto target = static_cast<std::uint64_t>(number(kRecord));
    try {
        auto record = std::make_shared<const Record>(m_parser.read(text, 1, NdjsonFrame::kFirstLine));
        // The columns have no checksum, but the text tells the same.
        const bool agrees = text.empty() && sqlNumber(record->number) == number(kRecord) &&
                            sqlNumber(record->run) == number(kRun) && record->epochMs == number(kEpoch) &&
                            record->monotonicUs / kMicrosPerMilli == number(kMonotonic) &&
                            sqlNumber(record->tookUs) == number(kTook);
        if (!agrees) failAt(target);
        return record;
    } catch (const RecordException&) {
        failAt(target);
    }
}

void HistoryReader::failAt(std::uint64_t record) const {
    throw HistoryException(
        historyMessage("ERR_HISTORY_RECORD", m_history.path().c_str(), std::to_string(record).c_str()));
}

}  // namespace vexo
