// SPDX-License-Identifier: MIT
#include "history/TableCheck.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "history/Schema.h"

namespace vexo {
namespace {

auto identityOf(const WaitEpisode& wait) {
    return std::tie(wait.file, wait.client, wait.clientIndex, wait.kind, wait.sinceMs);
}
bool isBefore(const WaitEpisode& left, const WaitEpisode& right) {
    return identityOf(left) < identityOf(right);
}

// The waits of a record, as a table has them.
std::vector<WaitEpisode> waitsOf(const Record& record) {
    std::vector<WaitEpisode> waits;
    for (const WaitItem& wait : record.waits) {
        waits.push_back({
            {record.number, record.number},
            wait.sinceMs,
            wait.waitedMs,
            sqlText(record.name(wait.file)),
            sqlText(record.name(wait.client)),
            wait.clientIndex,
            waitWord(wait.waitState)
        });
    }
    return waits;
}

// Whether the row is of the wait of this record. Only its last record tells how long it took.
bool isRowOf(const WaitEpisode& row, const WaitEpisode& wait) {
    return identityOf(row) == identityOf(wait) &&
           (row.records.last != wait.records.last || row.waitedMs == wait.waitedMs);
}

bool isRowOf(const EventItem& row, const EventItem& event) {
    return std::tie(row.kind, row.startMs, row.endMs, row.status, row.count) ==
               std::tie(event.kind, event.startMs, event.endMs, event.status, event.count) &&
           row.text == sqlText(event.text);
}

}  // namespace

std::vector<const char*> TableCheck::differing(const Record& record) {
    std::vector<const char*> tables;
    differingNumbers(record, tables);
    if (!hasEventsOf(record)) tables.push_back("event");
    if (!hasWaitsOf(record)) tables.push_back("wait");
    m_next = record.number + 1;
    // A record that went away meanwhile took its rows along.
    if (!tables.empty() && !isThere(record)) tables.clear();
    return tables;
}

void TableCheck::differingNumbers(const Record& record, std::vector<const char*>& tables) {
    Record found;
    m_tables.forEachRecord({record.number, record.number}, [&](const RecordNumbers& numbers) {
        found.usage = numbers.usage;
        found.communication = numbers.communication;
        found.protocols = numbers.protocols;
    });
    if (numbersOf(found) != numbersOf(record)) tables.push_back("record_numbers");
    if (limitsOf(found, {}) != limitsOf(record, {})) tables.push_back("limits");
    if (protocolsOf(found) != protocolsOf(record)) tables.push_back("protocol_span");
}

bool TableCheck::hasEventsOf(const Record& record) {
    std::vector<EventItem> rows;
    m_tables.forEachEvent({record.number, record.number}, [&](const HistoryEvent& row) { rows.push_back(row.event); });
    return std::equal(rows.begin(), rows.end(), record.events.begin(), record.events.end(),
                      [](const EventItem& row, const EventItem& event) { return isRowOf(row, event); });
}

// Only waits that began since the record before are looked for; of the others it is known where they began. Their rows are
// read anew each time, because the writer may have continued them.
bool TableCheck::hasWaitsOf(const Record& record) {
    m_tables.forEachWaitBegun({m_next, record.number},
                              [this](const WaitEpisode& row) { m_starts.insert(row.records.first); });
    std::vector<WaitEpisode> rows;
    for (auto start = m_starts.begin(); start != m_starts.end();) {
        const std::size_t before = rows.size();
        m_tables.forEachWaitBegun({*start, *start}, [&](const WaitEpisode& row) {
            if (row.records.last >= record.number) rows.push_back(row);
        });
        start = rows.size() == before ? m_starts.erase(start) : std::next(start);
    }
    std::vector<WaitEpisode> waits = waitsOf(record);
    std::sort(rows.begin(), rows.end(), isBefore);
    std::sort(waits.begin(), waits.end(), isBefore);
    return std::equal(rows.begin(), rows.end(), waits.begin(), waits.end(),
                      [](const WaitEpisode& row, const WaitEpisode& wait) { return isRowOf(row, wait); });
}

bool TableCheck::isThere(const Record& record) {
    bool found = false;
    m_tables.forEachRecord({record.number, record.number}, [&](const RecordNumbers&) { found = true; });
    return found;
}

}  // namespace vexo
