// SPDX-License-Identifier: MIT
// Every statement that is sent to a server. None reads user data or the text of anybody's statements, and none joins
// performance_schema tables: those have no indexes, so rows are matched here instead.
#ifndef VEXO_MARIADB_QUERIES_H
#define VEXO_MARIADB_QUERIES_H

#include <string>

namespace xr::mariadb::queries {

// Connecting. %u is the longest time of a statement in seconds. A server may give its sessions limits on rows and other
// character sets to begin with, by init_connect for some; lists would then silently end early.
constexpr const char* kSession =
    "SET NAMES utf8mb4, autocommit=1, wait_timeout=31536000, max_statement_time=%u, lock_wait_timeout=5, sql_mode='', "
    "sql_select_limit=18446744073709551615, sql_big_selects=1";

constexpr const char* kVariables =
    "SHOW GLOBAL VARIABLES WHERE Variable_name IN ('aria_block_size','datadir','extra_max_connections','extra_port',"
    "'innodb_buffer_pool_size','innodb_read_only','max_connections','myisam_block_size','open_files_limit',"
    "'performance_schema','performance_schema_max_file_instances','skip_name_resolve','table_open_cache',"
    "'thread_handling','thread_pool_max_threads')";

constexpr const char* kInstruments =
    "SELECT NAME, ENABLED FROM performance_schema.setup_instruments "
    "WHERE NAME IN ('wait/lock/metadata/sql/mdl','wait/io/socket/sql/client_connection')";

// Fails without the PROCESS privilege, unlike the process list, which then silently shows the own sessions only.
constexpr const char* kProcessPrivilege = "SELECT COUNT(*) FROM information_schema.INNODB_TRX";

// The account's own. The same question to a server that lacks the table above.
constexpr const char* kGrants = "SHOW GRANTS";

// Sessions. The process list also holds the server's own threads: replication, the writers of INSERT DELAYED, the event
// scheduler, and running events. The latter say 'Connect' under their definer's name and have no port, which no client
// does once it has logged in.
constexpr const char* kIsClient =
    "(USER <> 'system user' AND COMMAND NOT IN ('Binlog Dump','Daemon','Delayed insert','Slave_IO','Slave_SQL',"
    "'Slave_worker') AND NOT (COMMAND = 'Connect' AND USER <> 'unauthenticated user' AND HOST NOT LIKE '%:%'))";

// Our own connection included.
inline std::string processes() {
    return std::string("SELECT ID, USER, HOST, DB, COMMAND, TIME_MS, STATE, QUERY_ID, ") + kIsClient +
           " FROM information_schema.PROCESSLIST";
}

constexpr const char* kThreads =
    "SELECT THREAD_ID, PROCESSLIST_ID FROM performance_schema.threads WHERE PROCESSLIST_ID IS NOT NULL";

constexpr const char* kAttributes =
    "SELECT PROCESSLIST_ID, ATTR_NAME, ATTR_VALUE FROM performance_schema.session_connect_attrs "
    "WHERE ATTR_NAME IN ('_pid','program_name','_client_name')";

constexpr const char* kSockets =
    "SELECT THREAD_ID, IP, PORT FROM performance_schema.socket_instances "
    "WHERE EVENT_NAME = 'wait/io/socket/sql/client_connection'";

// Both make the server go through all that it keeps of every thread, which grows faster than the number of sessions.
// Filtering by the value as well spares most of the rows.
constexpr const char* kCounters =
    "SELECT THREAD_ID, VARIABLE_NAME, VARIABLE_VALUE FROM performance_schema.status_by_thread WHERE VARIABLE_NAME IN "
    "('Handler_delete','Handler_update','Handler_write','Handler_read_first','Handler_read_key','Handler_read_last',"
    "'Handler_read_next','Handler_read_prev','Handler_read_rnd','Handler_read_rnd_next','Rows_tmp_read') "
    "AND VARIABLE_VALUE <> '0'";

constexpr const char* kFileAccesses =
    "SELECT THREAD_ID, COUNT_STAR FROM performance_schema.events_waits_summary_by_thread_by_event_name "
    "WHERE COUNT_STAR > 0 AND EVENT_NAME LIKE 'wait/io/file/%'";

// Transactions and locks. The two halves of a name are encoded apart, or the "/" between them would be encoded too.
constexpr const char* kTransactions =
    "SELECT trx_mysql_thread_id, trx_rows_locked, trx_tables_locked, trx_autocommit_non_locking, trx_id, "
    "trx_requested_lock_id FROM information_schema.INNODB_TRX";

// The locks that transactions wait for and those that stand in their way; no others are listed anywhere. Who waits for
// whom (INNODB_LOCK_WAITS) follows from the row and grows by the square of the waiters.
constexpr const char* kConflicts =
    "SELECT lock_id, lock_trx_id, lock_mode, lock_type, lock_table, lock_space FROM information_schema.INNODB_LOCKS";

constexpr const char* kTableLocks =
    "SELECT OWNER_THREAD_ID, OBJECT_SCHEMA, OBJECT_NAME, CAST(CONVERT(OBJECT_SCHEMA USING filename) AS BINARY), "
    "CAST(CONVERT(OBJECT_NAME USING filename) AS BINARY), LOCK_TYPE, LOCK_STATUS, OBJECT_TYPE, LOCK_DURATION "
    "FROM performance_schema.metadata_locks";

// Of the plug-in that stands in for the above: granted locks only, under the session's own id.
constexpr const char* kTableLocksOfPlugin =
    "SELECT THREAD_ID, TABLE_SCHEMA, TABLE_NAME, CAST(CONVERT(TABLE_SCHEMA USING filename) AS BINARY), "
    "CAST(CONVERT(TABLE_NAME USING filename) AS BINARY), LOCK_MODE, 'GRANTED', "
    "'TABLE', '' FROM information_schema.METADATA_LOCK_INFO WHERE LOCK_TYPE='Table metadata lock'";

// Files.
constexpr const char* kFiles =
    "SELECT FILE_NAME, EVENT_NAME FROM performance_schema.file_instances WHERE OPEN_COUNT > 0";

// Ends a server whose InnoDB is read-only, by innodb_read_only or innodb_force_recovery=6: only for Files to send.
constexpr const char* kTablespaces =
    "SELECT NAME, FILENAME, PAGE_SIZE, FILE_SIZE, SPACE FROM information_schema.INNODB_SYS_TABLESPACES";

constexpr const char* kTablesInSystemTablespace =
    "SELECT NAME FROM information_schema.INNODB_SYS_TABLES WHERE SPACE = 0";

// Totals.
constexpr const char* kStatus =
    "SHOW GLOBAL STATUS WHERE Variable_name IN ('Aborted_clients','Innodb_buffer_pool_bytes_data',"
    "'Innodb_num_open_files','Max_used_connections','Open_files','Open_tables',"
    "'Performance_schema_file_instances_lost','Performance_schema_metadata_lock_lost',"
    "'Performance_schema_thread_instances_lost','Questions','Threadpool_threads','Threads_connected',"
    "'Threads_running','Uptime')";

// Of clients, our own connection included.
inline std::string users() {
    return std::string(
               "SELECT COUNT(DISTINCT IF(USER='unauthenticated user', NULL, USER)), COUNT(*), "
               "COALESCE(SUM(HOST <> 'localhost'),0) FROM information_schema.PROCESSLIST WHERE ") +
           kIsClient;
}

constexpr const char* kRemoteRequests =
    "SELECT COALESCE(SUM(VARIABLE_VALUE),0) FROM performance_schema.status_by_host "
    "WHERE VARIABLE_NAME='Questions' AND HOST IS NOT NULL AND HOST <> 'localhost'";

}  // namespace xr::mariadb::queries

#endif
