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
#include "record/JsonText.h"
#include "record/Ndjson.h"

namespace vexo {
namespace {

// What goes before a record is stored: little by age, so that a clock that is wrong by years does not empty the history at
// once, and more by size, so that a limit that was lowered is soon kept. Neither makes the record wait for long.
constexpr int kAgedGroupsAtOnce = 2;
constexpr int kGroupsAtOnce = 16;

// The log may take this part of the size allowed. It grows beyond where a reader does not let go of an old state.
constexpr std::uint64_t kWalShare = 2;

// For SQL texts have to be UTF-8; the bytes are in the record.
void bind(SQLite::Statement& statement, int place, std::string_view bytes) {
    statement.bind(place, isUtf8(bytes) ? std::string(bytes) : replacedText(bytes));
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

std::string waitWord(std::uint8_t state) {
    const std::string_view word = wordOf(Codes::kWaitState, state);
    return word.empty() ? std::to_string(state) : std::string(word);
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

HistoryWriter::HistoryWriter(const std::string& path, const HistoryLimits& limits) try
    : m_history(path),
      m_database(m_history.database()),
      m_limits(limits),
      m_insertRecord(insertion(m_database, "record")),
      m_insertWait(insertion(m_database, "wait")),
      m_continueWait(m_database, "UPDATE wait SET last_rec = ?, waited_ms = ? WHERE first_rec = ? AND place = ?"),
      m_insertEvent(insertion(m_database, "event")),
      m_nextRun(number(m_database, "SELECT ifnull(max(run), 0) + 1 FROM run")),
      m_lastRecord(number(m_database, "SELECT ifnull(max(rec), 0) FROM record")) {
    for (const NumberTable& table : kNumberTables)
        m_insertNumbers.push_back(insertion(m_database, table.name));
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

std::uint64_t HistoryWriter::bytes() {
    return number(m_database, "PRAGMA page_count") * number(m_database, "PRAGMA page_size") + m_history.walBytes();
}

void HistoryWriter::store(const Record& record) {
    const std::uint64_t place = m_inGroup < kGroupRecords ? m_inGroup : 0;
    m_inGroup = kGroupRecords;  // should this record fail, the next one is a key record
    m_text.clear();
    appendNdjson(m_text, record, NdjsonFrame::kFirstLine);
    const std::string_view body = m_packer.pack(m_text, place == 0 ? std::string_view() : m_lastText);
    const std::uint64_t keyRecord = place == 0 ? record.number : m_keyRecord;
    OpenWaits waits;
    transact(m_database, [&] {
        insertRecord(record, body, keyRecord);
        insertNumbers(record);
        waits = insertWaits(record);
        insertEvents(record);
    });
    std::swap(m_text, m_lastText);
    m_waits = std::move(waits);
    m_run = record.run;
    m_nextRun = std::max(m_nextRun, record.run + 1);
    m_lastRecord = record.number;
    m_keyRecord = keyRecord;
    m_inGroup = place + 1;
}

void HistoryWriter::insertRecord(const Record& record, std::string_view body, std::uint64_t keyRecord) {
    if (record.run != m_run) insertRun(record);
    SQLite::Statement& statement = ready(m_insertRecord);
    constexpr int kFrameLines = 2;  // the first line and the last
    const std::int64_t numbers[] = {sqlNumber(record.number),
                                    sqlNumber(record.run),
                                    record.epochMs * kMicrosPerMilli,
                                    record.monotonicUs,
                                    sqlNumber(record.tookUs),
                                    sqlNumber(keyRecord),
                                    std::count(m_text.begin(), m_text.end(), '\n') - kFrameLines};
    int column = 0;
    for (const std::int64_t number : numbers)
        statement.bind(++column, number);
    statement.bindNoCopy(++column, body.data(), static_cast<int>(body.size()));
    statement.exec();
}

// A run may go on in a history that was opened anew.
void HistoryWriter::insertRun(const Record& record) {
    SQLite::Statement statement(m_database,
                                "INSERT OR IGNORE INTO run VALUES(?, ?, ?, ?, nullif(?, ''), ?, nullif(?, 0), ?)");
    bindRow(statement, record.run, record.epochMs * kMicrosPerMilli, bootId(), record.name(record.server),
            record.name(record.engineVersion), record.engineType, record.intervalMs, wordOf(record.scope));
    statement.exec();
}

void HistoryWriter::insertNumbers(const Record& record) {
    for (std::size_t table = 0; table < kNumberTables.size(); ++table) {
        for (const Row& row : kNumberTables[table].rowsOf(record)) {
            SQLite::Statement& statement = ready(m_insertNumbers[table]);
            int column = 0;
            for (const std::optional<std::int64_t>& number : row)
                bind(statement, ++column, number);
            statement.exec();
        }
    }
}

// A wait that the last record stored shows as well goes on in its row; the rows that may go on from here.
HistoryWriter::OpenWaits HistoryWriter::insertWaits(const Record& record) {
    OpenWaits known = record.run == m_run ? m_waits : OpenWaits();
    OpenWaits open;
    std::uint64_t place = 0;
    for (const WaitItem& wait : record.waits) {
        const WaitKey key(record.name(wait.file), record.name(wait.client), wait.clientIndex, wait.waitState,
                          wait.sinceMs);
        const auto found = known.find(key);
        if (found != known.end()) {
            continueWait(record, wait, found->second);
            open.insert(known.extract(found));
        } else {
            insertWait(record, wait, place);
            open.emplace(key, std::pair(record.number, place));
            ++place;
        }
    }
    return open;
}

void HistoryWriter::continueWait(const Record& record, const WaitItem& wait, const RowKey& row) {
    bindRow(m_continueWait, record.number, wait.waitedMs, row.first, row.second);
    m_continueWait.exec();
}

void HistoryWriter::insertWait(const Record& record, const WaitItem& wait, std::uint64_t place) {
    bindRow(m_insertWait, record.number, place, record.number, wait.sinceMs, wait.waitedMs, record.name(wait.file),
            record.name(wait.client), wait.clientIndex, waitWord(wait.waitState));
    m_insertWait.exec();
}

void HistoryWriter::insertEvents(const Record& record) {
    std::uint64_t place = 0;
    for (const EventItem& event : record.events) {
        bindRow(m_insertEvent, record.number, place++, event.startMs, event.endMs, wordOf(event.kind), event.status,
                event.count, event.text);
        m_insertEvent.exec();
    }
}

bool HistoryWriter::hasRoom() {
    const auto fits = [this] {
        return m_history.walBytes() <= m_limits.maxBytes / kWalShare && m_history.freeBytes() >= m_limits.minFreeBytes;
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

void HistoryWriter::dropOld(std::int64_t nowMs) {
    const std::int64_t oldestUs = (nowMs - sqlNumber(m_limits.keepMs)) * kMicrosPerMilli;
    for (int dropped = 0; dropped < kGroupsAtOnce; ++dropped) {
        const bool tooLarge = bytes() > m_limits.maxBytes;
        if (!tooLarge && dropped >= kAgedGroupsAtOnce) return;
        // The first record of the group behind the oldest one; without such the oldest one is still being written.
        const std::int64_t next = m_database
                                      .execAndGet(
                                          "SELECT ifnull((SELECT rec FROM record WHERE rec > (SELECT min(rec) "
                                          "FROM record) AND key_rec = rec ORDER BY rec LIMIT 1), 0)")
                                      .getInt64();
        if (next == 0) return;
        SQLite::Statement newest(m_database, "SELECT max(start_us) FROM record WHERE rec < ?");
        newest.bind(1, next);
        newest.executeStep();
        if (!tooLarge && newest.getColumn(0).getInt64() >= oldestUs) return;
        newest.reset();
        dropBefore(next);
    }
}

void HistoryWriter::dropBefore(std::int64_t record) {
    transact(m_database, [&] {
        for (const char* old : {"record WHERE rec < ?", "usage WHERE rec < ?", "communication WHERE rec < ?",
                                "protocol WHERE rec < ?", "event WHERE rec < ?", "wait WHERE last_rec < ?",
                                "run WHERE run < (SELECT run FROM record WHERE rec = ?)"}) {
            SQLite::Statement statement(m_database, std::string("DELETE FROM ") + old);
            statement.bind(1, record);
            statement.exec();
        }
        m_database.exec("PRAGMA incremental_vacuum");
    });
}

}  // namespace vexo
