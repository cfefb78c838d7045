// SPDX-License-Identifier: MIT
#include "history/Schema.h"

namespace vexo {
namespace {

void add(Row& row, const Amount& amount) {
    row.emplace_back(sqlNumber(amount.current));
    row.emplace_back(sqlNumber(amount.peak));
}

void addLimited(Row& row, const Amount& amount) {
    add(row, amount);
    row.push_back(amount.limit == 0 ? std::nullopt : std::optional(amount.limit));
}

std::vector<Row> usageRows(const Record& record) {
    if (!record.usage) return {};
    const Usage& usage = *record.usage;
    Row row = {sqlNumber(record.number)};
    for (const Amount* amount :
         {&usage.users, &usage.files, &usage.handles, &usage.transactions, &usage.clients, &usage.workerThreads}) {
        addLimited(row, *amount);
    }
    add(row, usage.locks);
    addLimited(row, usage.dataInUseBytes);
    addLimited(row, usage.sessions);
    row.emplace_back(sqlNumber(usage.uptimeSeconds));
    return {row};
}

std::vector<Row> communicationRows(const Record& record) {
    if (!record.communication) return {};
    const Communication& communication = *record.communication;
    Row row = {sqlNumber(record.number), sqlNumber(communication.requests)};
    addLimited(row, communication.remoteSessions);
    addLimited(row, communication.threads);
    row.emplace_back(sqlNumber(communication.connectionTimeouts));
    row.emplace_back(sqlNumber(communication.connectionRecoveries));
    return {row};
}

std::vector<Row> protocolRows(const Record& record) {
    std::vector<Row> rows;
    for (const ProtocolItem& protocol : record.protocols) {
        rows.push_back({sqlNumber(record.number), sqlNumber(rows.size()), sqlNumber(protocol.type),
                        sqlNumber(protocol.requests), sqlNumber(protocol.sessionsCurrent),
                        sqlNumber(protocol.sessionsPeak)});
    }
    return rows;
}

}  // namespace

const char* const kSchema = R"(
CREATE TABLE run(
    run INTEGER PRIMARY KEY, start_us INTEGER NOT NULL, boot_id TEXT, server TEXT NOT NULL, engine_version TEXT,
    engine_type INTEGER, interval_ms INTEGER, handles TEXT NOT NULL);
CREATE TABLE record(
    rec INTEGER PRIMARY KEY, run INTEGER NOT NULL, start_us INTEGER NOT NULL, mono_us INTEGER NOT NULL,
    took_us INTEGER NOT NULL, key_rec INTEGER NOT NULL, items INTEGER NOT NULL, body BLOB NOT NULL);
CREATE INDEX record_start ON record(start_us);
CREATE TABLE usage(
    rec INTEGER PRIMARY KEY,
    users_current INTEGER NOT NULL, users_peak INTEGER NOT NULL, users_max INTEGER,
    files_current INTEGER NOT NULL, files_peak INTEGER NOT NULL, files_max INTEGER,
    handles_current INTEGER NOT NULL, handles_peak INTEGER NOT NULL, handles_max INTEGER,
    transactions_current INTEGER NOT NULL, transactions_peak INTEGER NOT NULL, transactions_max INTEGER,
    clients_current INTEGER NOT NULL, clients_peak INTEGER NOT NULL, clients_max INTEGER,
    worker_threads_current INTEGER NOT NULL, worker_threads_peak INTEGER NOT NULL, worker_threads_max INTEGER,
    locks_current INTEGER NOT NULL, locks_peak INTEGER NOT NULL,
    data_in_use_current_bytes INTEGER NOT NULL, data_in_use_peak_bytes INTEGER NOT NULL, data_in_use_max_bytes INTEGER,
    sessions_current INTEGER NOT NULL, sessions_peak INTEGER NOT NULL, sessions_max INTEGER,
    uptime_s INTEGER NOT NULL);
CREATE TABLE communication(
    rec INTEGER PRIMARY KEY, requests INTEGER NOT NULL,
    remote_sessions_current INTEGER NOT NULL, remote_sessions_peak INTEGER NOT NULL, remote_sessions_max INTEGER,
    threads_current INTEGER NOT NULL, threads_peak INTEGER NOT NULL, threads_max INTEGER,
    connection_timeouts INTEGER NOT NULL, connection_recoveries INTEGER NOT NULL);
CREATE TABLE protocol(
    rec INTEGER, place INTEGER, type INTEGER NOT NULL, requests INTEGER NOT NULL,
    remote_sessions_current INTEGER NOT NULL, remote_sessions_peak INTEGER NOT NULL,
    PRIMARY KEY(rec, place)) WITHOUT ROWID;
CREATE TABLE wait(
    first_rec INTEGER, place INTEGER, last_rec INTEGER NOT NULL, since_epoch_ms INTEGER NOT NULL,
    waited_ms INTEGER NOT NULL, file TEXT NOT NULL, client TEXT NOT NULL, client_index INTEGER NOT NULL,
    kind TEXT NOT NULL, PRIMARY KEY(first_rec, place)) WITHOUT ROWID;
CREATE TABLE event(
    rec INTEGER, place INTEGER, start_epoch_ms INTEGER NOT NULL, end_epoch_ms INTEGER, kind TEXT NOT NULL,
    status INTEGER, count INTEGER, text TEXT NOT NULL, PRIMARY KEY(rec, place)) WITHOUT ROWID;
)";

const std::array<NumberTable, 3> kNumberTables = {
    NumberTable{"usage",         usageRows        },
    NumberTable{"communication", communicationRows},
    NumberTable{"protocol",      protocolRows     },
};

}  // namespace vexo
