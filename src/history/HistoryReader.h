// SPDX-License-Identifier: MIT
// Reads the records of a history, which may be written meanwhile.
#ifndef VEXO_HISTORY_HISTORYREADER_H
#define VEXO_HISTORY_HISTORYREADER_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "history/HistoryFile.h"
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

    // Of two records that began at the same time, or while the clock was set back, the one that began closest counts.
    RecordPtr at(std::int64_t epochMs) override;
    RecordPtr next() override;
    RecordPtr previous() override;

    // Numbers of records, both inclusive.
    struct Range {
        std::uint64_t first = 0;
        std::uint64_t last = 0;
    };
    // After a failure: moves behind the damaged record and those that cannot be read without it, and gives their numbers.
    Range passDamage();

private:
    struct Position {
        std::uint64_t record = 0;
        std::uint64_t key = 0;  // where its group begins
    };
    // What tells one file from another, and one state of it from another.
    struct FileState {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t modifiedNs = 0;
    };

    FileState stateNow() const;
    void open();
    void openAnewIfChanged();
    template <typename Action>
    auto inTransaction(Action action);
    Position find(const char* query, std::int64_t argument);
    RecordPtr goTo(const Position& target);
    const Buffer& unpackUpTo(const Position& target, SQLite::Statement& rows);
    RecordPtr parse(std::string_view text, SQLite::Statement& row);
    [[noreturn]] void failAt(std::uint64_t record) const;

    const std::string m_path;
    std::unique_ptr<SQLite::Database> m_database;
    bool m_isImmutable = false;
    FileState m_state;

    TextUnpacker m_unpacker;
    NdjsonReader m_parser;
    Position m_place;
    Buffer m_text;                  // of the record at the place
    std::array<Buffer, 2> m_chain;  // of a record on the way to another, and of the one before
    std::uint64_t m_target = 0;     // the record that was asked for last
};

}  // namespace vexo

#endif
