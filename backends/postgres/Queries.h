// SPDX-License-Identifier: MIT
// Every statement that is sent to a server. None reads user data or the text of anybody's statements, and none waits for a
// lock that somebody holds on a table: pg_relation_size would, behind every ALTER TABLE.
#ifndef VEXO_POSTGRES_QUERIES_H
#define VEXO_POSTGRES_QUERIES_H

namespace xr::postgres::queries {

// Without the privilege the server gives no error, only fewer columns of fewer rows.
constexpr const char* kServer =
    "SELECT pg_has_role('pg_read_all_stats', 'USAGE'), pg_backend_pid(), "
    "(SELECT oid FROM pg_database WHERE datname = current_database()), current_setting('block_size')::int, "
    "current_setting('max_connections')::int, "
    "current_setting('autovacuum_max_workers')::int + current_setting('max_worker_processes')::int, "
    "pg_is_in_recovery(), current_setting('server_version')";

// SIReadLock rows look granted and block nobody.
constexpr const char* kLocks =
    "SELECT locktype, database, relation, page, tuple, virtualxid, transactionid, classid, objid, objsubid, "
    "virtualtransaction, pid, mode, granted FROM pg_locks "
    "WHERE pid IS DISTINCT FROM pg_backend_pid() AND mode <> 'SIReadLock'";

constexpr const char* kPrepared = "SELECT transaction, gid, owner, database FROM pg_prepared_xacts";

// An aborted transaction that nobody has ended has no start any more.
constexpr const char* kProcesses =
    "SELECT pid, coalesce(leader_pid, pid), datname, usename, application_name, host(client_addr), client_hostname, "
    "client_port, backend_type, state, "
    "greatest(0, extract(epoch FROM clock_timestamp() - state_change) * 1000)::int8, "
    "greatest(0, extract(epoch FROM clock_timestamp() - backend_start) * 1000)::int8, "
    "xact_start IS NOT NULL OR coalesce(state LIKE 'idle in transaction%', false) FROM pg_stat_activity";

constexpr const char* kDatabases = "SELECT oid, datname FROM pg_database";

// Of the connection's database and of those that all share; $1 is an array of their numbers.
constexpr const char* kRelations =
    "SELECT c.oid, n.nspname, c.relname, c.relkind, c.relpages FROM pg_class c "
    "JOIN pg_namespace n ON n.oid = c.relnamespace WHERE c.oid = ANY ($1::oid[])";

constexpr const char* kCounters =
    "SELECT sum(xact_commit + xact_rollback)::int8, sum(sessions_abandoned + sessions_fatal)::int8 "
    "FROM pg_stat_database";

}  // namespace xr::postgres::queries

#endif
