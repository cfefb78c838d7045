// SPDX-License-Identifier: MIT
// Writes records into a history, and drops the oldest as age and size ask for.
#ifndef VEXO_HISTORY_HISTORYWRITER_H
#define VEXO_HISTORY_HISTORYWRITER_H

#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "history/HistoryFile.h"
#include "history/Schema.h"
#include "history/TextChain.h"
#include "record/Record.h"

namespace vexo {

struct HistoryLimits {
    std::uint64_t keepMs = 14ULL * 24 * 60 * 60 * 1000;  // how old a record may become
    std::uint64_t maxBytes = std::uint64_t{1} << 30U;    // of the history and its log
    // What is left to others on the file system: nothing is written below it.
    std::uint64_t minFreeBytes = std::uint64_t{256} << 20U;
};

// The text of a record is packed against the one before, so that the records from one key record to the next hang
// together: they are read from the key record on, and dropped together. Within such a group the clock does not go back.
class HistoryWriter {
public:
    enum class Outcome : std::uint8_t {
        kStored,
        kNoRoom,  // the record is not in the history, which is as it was
    };
    // So many records a group has at most, and so many if their texts take more than this. A key record takes as much as
    // ten others, and a jump unpacks a group at worst, at 2 GB a second.
    static constexpr std::uint64_t kGroupRecords = 240;
    static constexpr std::uint64_t kLargeGroupRecords = 60;
    static constexpr std::uint64_t kLargeGroupBytes = std::uint64_t{64} << 20U;

    // Opens or creates the history; throws HistoryException as WritableHistory does.
    HistoryWriter(const std::string& path, const HistoryLimits& limits,
                  WritableHistory::Inspection inspection = WritableHistory::Inspection::kQuick);

    // A file that was moved meanwhile takes its log over, which would stay behind.
    ~HistoryWriter();
    HistoryWriter(const HistoryWriter&) = delete;
    HistoryWriter& operator=(const HistoryWriter&) = delete;

    // Numbers for the records to come: above all that the history holds.
    std::uint64_t nextRun() const { return m_nextRun; }
    std::uint64_t nextRecord() const { return m_lastRecord + 1; }
    // What became of a file that was there and could not be continued, fit for the user; empty if nothing did.
    const String& notice() const { return m_history.notice(); }

    // Stores a record, whose number has to be above the last one's, or nothing of it. Throws HistoryException where the
    // history cannot be written for another reason than room; it can be opened anew then.
    Outcome write(const Record& record);

    // Records that found no room.
    std::uint64_t dropped() const { return m_dropped; }
    // What the history takes, with its log.
    std::uint64_t bytes();

private:
    // The numbers of a protocol, and the first record that has them.
    struct ProtocolRow {
        Row numbers;
        std::uint64_t firstRecord = 0;
    };
    // Who waits where, for what and since when. Several may be alike.
    using WaitKey = std::tuple<std::string, std::string, std::uint32_t, std::uint8_t, std::int64_t>;
    using OpenWaits = std::multimap<WaitKey, std::int64_t>;  // and the identifier of the row

    void store(const Record& record);
    bool beginsGroup(const Record& record) const;
    void insertRecord(const Record& record, std::string_view body, std::uint64_t keyRecord);
    void insertRun(const Record& record);
    void insertLimits(const Record& record, const Limits& limits);
    std::vector<ProtocolRow> insertProtocols(const Record& record, std::vector<ProtocolRow> known);
    OpenWaits insertWaits(const Record& record);
    void insertWait(const Record& record, const WaitItem& wait);
    void continueWait(const Record& record, const WaitItem& wait, std::int64_t id);
    void insertEvents(const Record& record);

    bool hasRoom();
    void emptyLog();
    std::uint64_t fileBytes();
    bool isTooLarge();
    void dropOld(std::int64_t nowMs);
    void dropBefore(std::int64_t record);

    WritableHistory m_history;
    SQLite::Database& m_database;
    const HistoryLimits m_limits;
    SQLite::Statement m_insertRecord;
    SQLite::Statement m_insertBody;
    SQLite::Statement m_insertLimits;
    SQLite::Statement m_insertProtocol;
    SQLite::Statement m_continueProtocol;
    SQLite::Statement m_insertWait;
    SQLite::Statement m_continueWait;
    SQLite::Statement m_insertEvent;

    TextPacker m_packer;
    std::string m_text;
    std::string m_lastText;  // of the last record stored
    // Of the last record stored: the rows that may go on.
    OpenWaits m_waits;
    Limits m_limitsRow;
    std::vector<ProtocolRow> m_protocols;
    std::uint64_t m_nextRun;
    std::uint64_t m_run = 0;  // of the last record stored; 0 before the first
    std::uint64_t m_lastRecord;
    std::int64_t m_lastEpochMs = 0;
    // The group that goes on: none before the first record, and behind a failure.
    std::uint64_t m_keyRecord = 0;
    std::uint64_t m_groupRecords = 0;
    std::uint64_t m_groupBytes = 0;
    std::uint64_t m_dropped = 0;
};

}  // namespace vexo

#endif
