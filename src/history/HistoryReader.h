// SPDX-License-Identifier: MIT
// Reads the records of a history, which may be written meanwhile.
#ifndef VEXO_HISTORY_HISTORYREADER_H
#define VEXO_HISTORY_HISTORYREADER_H

#include <array>
#include <cstdint>
#include <string>

#include "history/HistoryFile.h"
#include "history/RecordMark.h"
#include "history/TextChain.h"
#include "record/Ndjson.h"
#include "record/RecordSource.h"

namespace vexo {

// Holds on to no state of the file between two calls, so that its log does not grow. Where the file was replaced by a
// new history, the place is before its first record.
class HistoryReader : public RecordSource {
public:
    // Throws HistoryException for a newer version, for what is no history, and for what cannot be read. The operations
    // throw it for a damaged record.
    explicit HistoryReader(const std::string& path);

    // Of two records that began at the same time, and where the clock was set back, the later one counts.
    RecordPtr at(std::int64_t epochMs) override;
    RecordPtr next() override;
    RecordPtr previous() override;
    // Go to the record of this number, or to the first one behind it; to the first record; to the last one. Null, and no
    // move, where there is none.
    RecordPtr goTo(std::uint64_t record);
    RecordPtr first();
    RecordPtr last();
    // Whether a record has come behind the place. Reads none.
    bool hasNext();

    // The number of the record that at() leads to; of the one so many records behind `record`, or before it where that is
    // negative, or of the last or first one where there are fewer. 0 where there is none. Read no record, and do not move.
    std::uint64_t numberAt(std::int64_t epochMs);
    std::uint64_t numberFrom(std::uint64_t record, std::int64_t records);

    // As goTo(), for a program that passes the record on unread, which takes far less time: appends its lines to `out`, byte
    // for byte as they are streamed (NdjsonFrame::kEveryLine), and gives its number; 0 where there is none.
    std::uint64_t appendLines(std::uint64_t record, std::string& out);

    // After a failure: moves behind the damaged record and those that cannot be read without it, and gives their numbers.
    RecordRange passDamage();

private:
    struct Position {
        std::uint64_t record = 0;
        std::uint64_t key = 0;  // where its group begins
    };
    template <typename Action>
    auto read(Action action);
    Position find(SQLite::Database& database, const std::string& query, std::int64_t argument) const;
    Position findAt(SQLite::Database& database, std::int64_t epochMs) const;
    RecordPtr goTo(SQLite::Database& database, const Position& target);
    template <typename Look>
    void moveTo(SQLite::Database& database, const Position& target, Look look);
    const Buffer& unpackUpTo(const Position& target, SQLite::Statement& rows);
    RecordPtr parse(std::string_view text, SQLite::Statement& row);
    [[noreturn]] void failAt(std::uint64_t record) const;

    ReadableHistory m_history;
    std::uint64_t m_replacements = 0;
    TextUnpacker m_unpacker;
    NdjsonReader m_parser;
    Position m_place;
    Buffer m_text;                  // of the record at the place
    std::array<Buffer, 2> m_chain;  // of a record on the way to another, and of the one before
    std::uint64_t m_target = 0;     // the record that was asked for last
};

}  // namespace vexo

#endif
