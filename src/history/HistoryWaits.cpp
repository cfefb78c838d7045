// SPDX-License-Identifier: MIT
#include "history/HistoryWaits.h"

#include <SQLiteCpp/Statement.h>

#include "history/Schema.h"

namespace vexo {
namespace {

// The record that shows the start of an episode: the first one kept, where its start was dropped.
std::optional<RecordMark> find(ReadableHistory& history, const std::string& episode, std::uint64_t record) {
    return history.read([&](SQLite::Database& database) -> std::optional<RecordMark> {
        SQLite::Statement statement(database, "SELECT rec, epoch_ms FROM record_numbers WHERE rec >= (SELECT " +
                                                  episode + ") ORDER BY rec LIMIT 1");
        statement.bind(1, sqlNumber(record));
        if (!statement.executeStep()) return std::nullopt;
        return RecordMark{static_cast<std::uint64_t>(statement.getColumn(0).getInt64()),
                          statement.getColumn(1).getInt64()};
    });
}

}  // namespace

std::optional<RecordMark> HistoryWaits::next(std::uint64_t record) {
    return find(m_history, "min(first_rec) FROM wait WHERE first_rec > ?", record);
}

std::optional<RecordMark> HistoryWaits::previous(std::uint64_t record) {
    const auto found = find(m_history, "max(first_rec) FROM wait WHERE first_rec < ?", record);
    return found && found->number < record ? found : std::nullopt;
}

}  // namespace vexo
