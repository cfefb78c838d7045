// SPDX-License-Identifier: MIT
#include "history/Schema.h"

#include "record/Codes.h"
#include "record/JsonText.h"

namespace vexo {
namespace {

constexpr std::size_t kUsageNumbers = 10;
constexpr std::size_t kCommunicationNumbers = 5;

// Puts limits one behind the other.
class LimitWriter {
public:
    explicit LimitWriter(Limits& limits) : m_limits(limits) {}

    void peak(const Amount& amount) { m_limits.at(m_place++) = sqlNumber(amount.peak); }
    void peakAndLimit(const Amount& amount) {
        peak(amount);
        m_limits.at(m_place++) = amount.limit == 0 ? std::nullopt : std::optional(amount.limit);
    }
    void pass(std::size_t limits) { m_place += limits; }

private:
    Limits& m_limits;
    std::size_t m_place = 0;
};

}  // namespace

// What changes with every record is kept with it, what seldom does in tables of its own: with 10 handles that is half of
// what a row of all numbers takes. A column that is 0 or NULL takes one byte, whose value is in the head of the row.
// Identifiers that were dropped are not given out again: whoever asks for what is above the last one misses nothing.
const char* const kSchema = R"(
CREATE TABLE run(
    run INTEGER PRIMARY KEY, start_us INTEGER NOT NULL, boot_id TEXT, server TEXT NOT NULL, engine_version TEXT,
    engine_type INTEGER, interval_ms INTEGER, handles TEXT NOT NULL);
CREATE TABLE record_numbers(
    rec INTEGER PRIMARY KEY, run INTEGER NOT NULL, epoch_ms INTEGER NOT NULL, monotonic_ms INTEGER NOT NULL,
    took_us INTEGER NOT NULL, key_rec INTEGER NOT NULL, items INTEGER NOT NULL,
    users_current INTEGER, files_current INTEGER, handles_current INTEGER, transactions_current INTEGER,
    clients_current INTEGER, worker_threads_current INTEGER, locks_current INTEGER, data_in_use_current_bytes INTEGER,
    sessions_current INTEGER, uptime_s INTEGER,
    requests INTEGER, remote_sessions_current INTEGER, threads_current INTEGER, connection_timeouts INTEGER,
    connection_recoveries INTEGER);
CREATE INDEX record_key ON record_numbers(epoch_ms) WHERE rec = key_rec;
CREATE TABLE body(rec INTEGER PRIMARY KEY, body BLOB NOT NULL);
CREATE TABLE limits(
    first_rec INTEGER PRIMARY KEY,
    users_peak INTEGER, users_max INTEGER, files_peak INTEGER, files_max INTEGER,
    handles_peak INTEGER, handles_max INTEGER, transactions_peak INTEGER, transactions_max INTEGER,
    clients_peak INTEGER, clients_max INTEGER, worker_threads_peak INTEGER, worker_threads_max INTEGER,
    locks_peak INTEGER, data_in_use_peak_bytes INTEGER, data_in_use_max_bytes INTEGER,
    sessions_peak INTEGER, sessions_max INTEGER,
    remote_sessions_peak INTEGER, remote_sessions_max INTEGER, threads_peak INTEGER, threads_max INTEGER);
CREATE TABLE protocol_span(
    first_rec INTEGER, place INTEGER, last_rec INTEGER, type INTEGER NOT NULL, requests INTEGER NOT NULL,
    remote_sessions_current INTEGER NOT NULL, remote_sessions_peak INTEGER NOT NULL,
    PRIMARY KEY(first_rec, place)) WITHOUT ROWID;
CREATE VIEW record AS SELECT
    rec, run, epoch_ms * 1000 AS start_us, monotonic_ms * 1000 AS mono_us, took_us, key_rec, items, body
    FROM record_numbers LEFT JOIN body USING(rec);
CREATE VIEW usage AS SELECT
    rec, users_current, users_peak, users_max, files_current, files_peak, files_max,
    handles_current, handles_peak, handles_max, transactions_current, transactions_peak, transactions_max,
    clients_current, clients_peak, clients_max, worker_threads_current, worker_threads_peak, worker_threads_max,
    locks_current, locks_peak, data_in_use_current_bytes, data_in_use_peak_bytes, data_in_use_max_bytes,
    sessions_current, sessions_peak, sessions_max, uptime_s
    FROM record_numbers JOIN limits ON first_rec = (SELECT max(first_rec) FROM limits WHERE first_rec <= rec)
    WHERE uptime_s IS NOT NULL;
CREATE VIEW communication AS SELECT
    rec, requests, remote_sessions_current, remote_sessions_peak, remote_sessions_max,
    threads_current, threads_peak, threads_max, connection_timeouts, connection_recoveries
    FROM record_numbers JOIN limits ON first_rec = (SELECT max(first_rec) FROM limits WHERE first_rec <= rec)
    WHERE requests IS NOT NULL;
CREATE VIEW protocol AS SELECT
    rec, place, type, p.requests, p.remote_sessions_current, p.remote_sessions_peak
    FROM record_numbers CROSS JOIN protocol_span p ON first_rec BETWEEN key_rec AND rec AND ifnull(last_rec, first_rec) >= rec;
CREATE TABLE wait(
    id INTEGER PRIMARY KEY AUTOINCREMENT, first_rec INTEGER NOT NULL, last_rec INTEGER NOT NULL, file TEXT NOT NULL,
    client TEXT NOT NULL, client_index INTEGER NOT NULL, kind TEXT NOT NULL, since_epoch_ms INTEGER NOT NULL,
    waited_ms INTEGER NOT NULL);
CREATE INDEX wait_first ON wait(first_rec);
CREATE TABLE event(
    id INTEGER PRIMARY KEY AUTOINCREMENT, rec INTEGER NOT NULL, start_us INTEGER NOT NULL, end_us INTEGER,
    kind TEXT NOT NULL, status INTEGER, text TEXT NOT NULL, count INTEGER);
CREATE INDEX event_rec ON event(rec);
)";

Row numbersOf(const Record& record) {
    Row row;
    row.reserve(kUsageNumbers + kCommunicationNumbers);
    if (record.usage) {
        const Usage& usage = *record.usage;
        for (const Amount* amount : {&usage.users, &usage.files, &usage.handles, &usage.transactions, &usage.clients,
                                     &usage.workerThreads, &usage.locks, &usage.dataInUseBytes, &usage.sessions}) {
            row.emplace_back(sqlNumber(amount->current));
        }
        row.emplace_back(sqlNumber(usage.uptimeSeconds));
    }
    row.resize(kUsageNumbers);
    if (record.communication) {
        const Communication& communication = *record.communication;
        for (const std::uint64_t number :
             {communication.requests, communication.remoteSessions.current, communication.threads.current,
              communication.connectionTimeouts, communication.connectionRecoveries}) {
            row.emplace_back(sqlNumber(number));
        }
    }
    row.resize(kUsageNumbers + kCommunicationNumbers);
    return row;
}

Limits limitsOf(const Record& record, const Limits& before) {
    Limits limits = before;
    LimitWriter writer(limits);
    if (record.usage) {
        const Usage& usage = *record.usage;
        for (const Amount* amount :
             {&usage.users, &usage.files, &usage.handles, &usage.transactions, &usage.clients, &usage.workerThreads}) {
            writer.peakAndLimit(*amount);
        }
        writer.peak(usage.locks);
        writer.peakAndLimit(usage.dataInUseBytes);
        writer.peakAndLimit(usage.sessions);
    } else {
        constexpr std::size_t kUsageLimits = 17;
        writer.pass(kUsageLimits);
    }
    if (record.communication) {
        writer.peakAndLimit(record.communication->remoteSessions);
        writer.peakAndLimit(record.communication->threads);
    }
    return limits;
}

std::vector<Row> protocolsOf(const Record& record) {
    std::vector<Row> rows;
    for (const ProtocolItem& protocol : record.protocols) {
        rows.push_back({sqlNumber(protocol.type), sqlNumber(protocol.requests), sqlNumber(protocol.sessionsCurrent),
                        sqlNumber(protocol.sessionsPeak)});
    }
    return rows;
}

std::string sqlText(std::string_view bytes) {
    return isUtf8(bytes) ? std::string(bytes) : replacedText(bytes);
}

std::string waitWord(std::uint8_t code) {
    const std::string_view word = wordOf(Codes::kWaitState, code);
    return word.empty() ? std::to_string(code) : std::string(word);
}

}  // namespace vexo
