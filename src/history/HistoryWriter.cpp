// SPDX-License-Identifier: MIT
#include "history/HistoryWriter.h"

#include <SQLiteCpp/Transaction.h>
#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "history/Schema.h"
#include "record/Codes.h"
#include "record/Ndjson.h"

namespace vexo {
namespace {

// What goes before a record is stored: little by age, so that a clock that is wrong by years does not empty the history at
// once, and more by size, so that a limit that was lowered is soon kept. Neither makes the record wait for long.
constexpr int kAgedGroupsAtOnce = 2;
constexpr int kGroupsAtOnce = 16;

// Without any room nothing can be deleted either, and a history that filled its disk would never go on. Deleting a group
// and giving its room back takes less than this.
constexpr std::uint64_t kLeastFreeBytes = std::uint64_t{8} << 20U;

// The log may take this part of the size allowed. It grows beyond where a reader does not let go of an old state.
constexpr std::uint64_t kWalShare = 2;

// NULL for an identifier: the next one.
constexpr std::optional<std::int64_t> kNextId;

void bind(SQLite::Statement& statement, int place, std::string_view bytes) {
    statement.bind(place, sqlText(bytes));
}

template <typename Number, std::enable_if_t<std::is_arithmetic_v<Number>, int> = 0>
void bind(SQLite::Statement& statement, int place, Number number) {
    statement.bind(place, sqlNumber(number));
}

template <typename Value>
void bind(SQLite::Statement& statement, int place, const std::optional<Value>& value) {
    if (value) {
        bind(statement, place, *value);
    } else {
        statement.bind(place);
    }
}

// Ready to be bound: a statement that failed is not, and tells its failure once more when it is reset.
SQLite::Statement& ready(SQLite::Statement& statement) {
    statement.tryReset();
    return statement;
}

// Binds all parameters of a statement.
template <typename... Values>
void bindRow(SQLite::Statement& statement, const Values&... values) {
    ready(statement);
    int place = 0;
    (bind(statement, ++place, values), ...);
}

SQLite::Statement insertion(SQLite::Database& database, const std::string& table) {
    const int columns = SQLite::Statement(database, "SELECT * FROM " + table).getColumnCount();
    std::string values = "?";
    for (int column = 1; column < columns; ++column)
        values += ", ?";
    return {database, "INSERT INTO " + table + " VALUES(" + values + ")"};
}

// The run of the system that the monotonic clock belongs to.
std::string bootId() {
    std::string id;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), id);
    return id;
}

// Whether a change failed because the disk, the quota or the size allowed for a file is exhausted.
bool isFull(SQLite::Database& database, const SQLite::Exception& error) {
    const int kept = sqlite3_system_errno(database.getHandle());
    const int reason = kept != 0 ? kept : errno;  // SQLite keeps none of a failed commit
    return error.getErrorCode() == SQLITE_FULL ||
           (error.getErrorCode() == SQLITE_IOERR && (reason == ENOSPC || reason == EDQUOT || reason == EFBIG));
}

// The change found no room; nothing of it remains.
struct NoRoom {};

// Runs `change` as one transaction.
template <typename Change>
void transact(SQLite::Database& database, Change change) {
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    try {
        change();
        transaction.commit();
    } catch (const SQLite::Exception& error) {
        // Here, because going back on the change overwrites the system's reason.
        if (isFull(database, error)) throw NoRoom{};
        throw;
    }
}

std::uint64_t number(SQLite::Database& database, const char* query) {
    return static_cast<std::uint64_t>(database.execAndGet(query).getInt64());
}

}  // namespace

HistoryWriter::HistoryWriter(const std::string& path, const HistoryLimits& limits,
                             WritableHistory::Inspection inspection) try
    : m_history(path, inspection),
      m_database(m_history.database()),
      m_limits(limits),
      m_insertRecord(insertion(m_database, "record_numbers")),
      m_insertBody(insertion(m_database, "body")),
      m_insertLimits(insertion(m_database, "limits")),
      m_insertProtocol(insertion(m_database, "protocol_span")),
      m_continueProtocol(m_database, "UPDATE protocol_span SET last_rec = ? WHERE first_rec = ? AND place = ?"),
      m_insertWait(insertion(m_database, "wait")),
      m_continueWait(m_database, "UPDATE wait SET last_rec = ?, waited_ms = ? WHERE id = ?"),
      m_insertEvent(insertion(m_database, "event")),
      m_nextRun(number(m_database, "SELECT ifnull(max(run), 0) + 1 FROM run")),
      m_lastRecord(number(m_database, "SELECT ifnull(max(rec), 0) FROM record_numbers")) {
} catch (const SQLite::Exception& error) {
    throw HistoryException(historyMessage("ERR_HISTORY", path.c_str(), error.what()));
}

HistoryWriter::~HistoryWriter() {
    if (!m_history.isInPlace()) emptyLog();
}

HistoryWriter::Outcome HistoryWriter::write(const Record& record) {
    if (record.number <= m_lastRecord) throw std::logic_error("the number of a record has to grow");
    if (!m_history.isInPlace()) throw HistoryException(historyMessage("ERR_HISTORY_MOVED", m_history.path().c_str()));
    return withHistory(m_history.path(), [&] {
        try {
            dropOld(record.epochMs);
            if (hasRoom()) {
                store(record);
                return Outcome::kStored;
            }
        } catch (const NoRoom&) {
            emptyLog();
        }
        ++m_dropped;
        return Outcome::kNoRoom;
    });
}

std::uint64_t HistoryWriter::fileBytes() {
    return number(m_database, "PRAGMA page_count") * number(m_database, "PRAGMA page_size");
}

std::uint64_t HistoryWriter::bytes() {
    return fileBytes() + m_history.walBytes();
}

// Whether the record starts a group of its own.
bool HistoryWriter::beginsGroup(const Record& record) const {
    const bool isFull =
        m_groupRecords >= kGroupRecords || (m_groupRecords >= kLargeGroupRecords && m_groupBytes >= kLargeGroupBytes);
    return m_keyRecord == 0 || isFull || record.run != m_run || record.epochMs < m_lastEpochMs;
}

void HistoryWriter::store(const Record& record) {
    const bool isKey = beginsGroup(record);
    const std::uint64_t keyRecord = isKey ? record.number : m_keyRecord;
    m_text.clear();
    appendNdjson(m_text, record, NdjsonFrame::kFirstLine);
    const std::string_view body = m_packer.pack(m_text, isKey ? std::string_view() : m_lastText);
    const Limits limits = limitsOf(record, isKey ? Limits() : m_limitsRow);
    std::vector<ProtocolRow> protocols;
    OpenWaits waits;
    m_keyRecord = 0;  // should this record fail, the next one is a key record
    transact(m_database, [&] {
        if (record.run != m_run) insertRun(record);
        insertRecord(record, body, keyRecord);
        if (isKey || limits != m_limitsRow) insertLimits(record, limits);
        protocols = insertProtocols(record, isKey ? std::vector<ProtocolRow>() : m_protocols);
        waits = insertWaits(record);
        insertEvents(record);
    });
    m_groupRecords = isKey ? 1 : m_groupRecords + 1;
    m_groupBytes = (isKey ? 0 : m_groupBytes) + m_text.size();
    std::swap(m_text, m_lastText);
    m_limitsRow = limits;
    m_protocols = std::move(protocols);
    m_waits = std::move(waits);
    m_run = record.run;
    m_nextRun = std::max(m_nextRun, record.run + 1);
    m_lastRecord = record.number;
    m_lastEpochMs = record.epochMs;
    m_keyRecord = keyRecord;
}

void HistoryWriter::insertRecord(const Record& record, std::string_view body, std::uint64_t keyRecord) {
    constexpr int kFrameLines = 2;  // the first line and the last
    const auto items = std::count(m_text.begin(), m_text.end(), '\n') - kFrameLines;
    bindRow(m_insertRecord, record.number, record.run, record.epochMs, record.monotonicUs / kMicrosPerMilli,
            record.tookUs, keyRecord, items);
    int column = kHeadColumns;
    for (const std::optional<std::int64_t>& number : numbersOf(record))
        bind(m_insertRecord, ++column, number);
    m_insertRecord.exec();
    bindRow(m_insertBody, record.number);
    m_insertBody.bindNoCopy(2, body.data(), static_cast<int>(body.size()));
    m_insertBody.exec();
}

// A run may go on in a history that was opened anew.
void HistoryWriter::insertRun(const Record& record) {
    SQLite::Statement statement(m_database,
                                "INSERT OR IGNORE INTO run VALUES(?, ?, ?, ?, nullif(?, ''), ?, nullif(?, 0), ?)");
    bindRow(statement, record.run, record.epochMs * kMicrosPerMilli, bootId(), record.name(record.server),
            record.name(record.engineVersion), record.engineType, record.intervalMs, wordOf(record.scope));
    statement.exec();
}

void HistoryWriter::insertLimits(const Record& record, const Limits& limits) {
    bindRow(m_insertLimits, record.number);
    int column = 1;
    for (const std::optional<std::int64_t>& limit : limits)
        bind(m_insertLimits, ++column, limit);
    m_insertLimits.exec();
}

// Numbers that are the same as in the record before go on in their row. Gives the rows that may go on from here.
std::vector<HistoryWriter::ProtocolRow> HistoryWriter::insertProtocols(const Record& record,
                                                                       std::vector<ProtocolRow> known) {
    std::vector<Row> rows = protocolsOf(record);
    known.resize(rows.size());
    for (std::size_t place = 0; place < rows.size(); ++place) {
        if (rows[place] == known[place].numbers) {
            bindRow(m_continueProtocol, record.number, known[place].firstRecord, place);
            m_continueProtocol.exec();
            continue;
        }
        bindRow(m_insertProtocol, record.number, place, std::optional<std::int64_t>());
        int column = 3;
        for (const std::optional<std::int64_t>& number : rows[place])
            bind(m_insertProtocol, ++column, number);
        m_insertProtocol.exec();
        known[place] = {std::move(rows[place]), record.number};
    }
    return known;
}

// A wait that the last record stored shows as well goes on in its row; the rows that may go on from here.
HistoryWriter::OpenWaits HistoryWriter::insertWaits(const Record& record) {
    OpenWaits known = record.run == m_run ? m_waits : OpenWaits();
    OpenWaits open;
    for (const WaitItem& wait : record.waits) {
        const WaitKey key(record.name(wait.file), record.name(wait.client), wait.clientIndex, wait.waitState,
                          wait.sinceMs);
        const auto found = known.find(key);
        if (found != known.end()) {
            continueWait(record, wait, found->second);
            open.insert(known.extract(found));
        } else {
            insertWait(record, wait);
            open.emplace(key, m_database.getLastInsertRowid());
        }
    }
    return open;
}

void HistoryWriter::continueWait(const Record& record, const WaitItem& wait, std::int64_t id) {
    bindRow(m_continueWait, record.number, wait.waitedMs, id);
    m_continueWait.exec();
}

void HistoryWriter::insertWait(const Record& record, const WaitItem& wait) {
    bindRow(m_insertWait, kNextId, record.number, record.number, record.name(wait.file), record.name(wait.client),
            wait.clientIndex, waitWord(wait.waitState), wait.sinceMs, wait.waitedMs);
    m_insertWait.exec();
}

void HistoryWriter::insertEvents(const Record& record) {
    for (const EventItem& event : record.events) {
        std::optional<std::int64_t> endUs;
        if (event.endMs) endUs = *event.endMs * kMicrosPerMilli;
        bindRow(m_insertEvent, kNextId, record.number, event.startMs * kMicrosPerMilli, endUs, wordOf(event.kind),
                event.status, event.text, event.count);
        m_insertEvent.exec();
    }
}

bool HistoryWriter::hasRoom() {
    const auto fits = [this] {
        return m_history.walBytes() <= m_limits.maxBytes / kWalShare &&
               m_history.freeBytes() >= std::max(m_limits.minFreeBytes, kLeastFreeBytes);
    };
    if (fits()) return true;
    emptyLog();
    return fits();
}

// Takes the log over into the file, which needs less room. Does nothing, without waiting, where a reader needs the log.
void HistoryWriter::emptyLog() {
    if (m_history.walBytes() == 0) return;
    sqlite3_busy_timeout(m_database.getHandle(), 0);
    sqlite3_wal_checkpoint_v2(m_database.getHandle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    sqlite3_busy_timeout(m_database.getHandle(), kBusyTimeoutMs);
}

// Dropping records makes the log longer at first, so it is emptied before and in between. What a reader keeps in the log
// does not go with records.
bool HistoryWriter::isTooLarge() {
    if (bytes() <= m_limits.maxBytes) return false;
    emptyLog();
    return fileBytes() > m_limits.maxBytes;
}

void HistoryWriter::dropOld(std::int64_t nowMs) {
    const std::int64_t oldestMs = nowMs - sqlNumber(m_limits.keepMs);
    for (int dropped = 0; dropped < kGroupsAtOnce; ++dropped) {
        const bool tooLarge = isTooLarge();
        if (!tooLarge && dropped >= kAgedGroupsAtOnce) return;
        // The first record of the group behind the oldest one; without such the oldest one is still being written.
        const std::int64_t next = m_database
                                      .execAndGet(
                                          "SELECT ifnull((SELECT rec FROM record_numbers WHERE rec > (SELECT min(rec) "
                                          "FROM record_numbers) AND rec = key_rec ORDER BY rec LIMIT 1), 0)")
                                      .getInt64();
        if (next == 0) return;
        SQLite::Statement newest(m_database, "SELECT max(epoch_ms) FROM record_numbers WHERE rec < ?");
        newest.bind(1, next);
        newest.executeStep();
        if (!tooLarge && newest.getColumn(0).getInt64() >= oldestMs) return;
        newest.reset();
        dropBefore(next);
    }
}

void HistoryWriter::dropBefore(std::int64_t record) {
    transact(m_database, [&] {
        for (const char* old :
             {"record_numbers WHERE rec < ?", "body WHERE rec < ?", "limits WHERE first_rec < ?",
              "protocol_span WHERE first_rec < ?", "event WHERE rec < ?", "wait WHERE first_rec < ?1 AND last_rec < ?1",
              "run WHERE run < (SELECT run FROM record_numbers WHERE rec = ?)"}) {
            SQLite::Statement statement(m_database, std::string("DELETE FROM ") + old);
            statement.bind(1, record);
            statement.exec();
        }
        m_database.exec("PRAGMA incremental_vacuum");
    });
}

}  // namespace vexo
