// SPDX-License-Identifier: MIT
// One connection to a server, the statements on it and their results.
#ifndef VEXO_MARIADB_CONNECTION_H
#define VEXO_MARIADB_CONNECTION_H

#include <mysql.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Log.h"
#include "ServerText.h"
#include "Settings.h"
#include "StatusError.h"
#include "Watchdog.h"

namespace xr::mariadb {

// Statuses: the server's own error number where the message bundle has a sentence for it, and kOtherError for all the
// rest.
constexpr std::int16_t kOtherError = 2000;
constexpr std::int16_t kBadServerText = 2005;
constexpr std::int16_t kOutOfMemory = 2008;
constexpr std::int16_t kConnectionLost = 2013;
constexpr std::int16_t kOutOfOrder = 2014;
constexpr std::int16_t kNoSecureConnection = 2026;
constexpr std::int16_t kNoSuchMethod = 2059;
constexpr std::int16_t kUnsupportedServer = 1193;
constexpr std::int16_t kBadOptionFile = 3100;  // of this library alone

// The status for an error number of the server or its client library.
std::int16_t toStatus(unsigned error);

// All rows of one answer, already in memory: reading them sends nothing to the server.
class Result {
public:
    // Null gives a result without rows.
    explicit Result(MYSQL_RES* rows);

    // Steps to the next row, the first one at first.
    bool next();

    // A column of the row, valid as long as the result. NULL reads as "" and 0.
    std::string_view text(unsigned column) const;
    std::uint64_t number(unsigned column) const;
    bool isNull(unsigned column) const;

private:
    struct Free {
        void operator()(MYSQL_RES* rows) const { mysql_free_result(rows); }
    };
    std::unique_ptr<MYSQL_RES, Free> m_rows;
    MYSQL_ROW m_row = nullptr;
    unsigned long* m_lengths = nullptr;
};

class Connection {
public:
    // Connects, with TLS if it is asked for. Throws StatusError.
    Connection(const std::string& server, const std::string& user, const std::string& password,
               const Settings& settings, Log& log);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Begins a call of the interface: all its statements together may take as long as the settings say.
    void beginCall() { m_callEnds.reset(); }

    // Runs a statement without rows, or one with rows. Throws StatusError.
    void execute(const char* statement);
    Result query(const char* statement);

    // 10.11.19 gives 101119, as a text the server's own wording of it.
    std::uint64_t serverVersion() const;
    std::string serverText() const;

    std::uint64_t id() const;
    bool overUnixSocket() const;

private:
    struct Close {
        void operator()(MYSQL* connection) const { mysql_close(connection); }
    };

    bool readOptions(const std::string& optionFile);
    void setOptions(const Settings& settings, const ServerAddress& address, bool secure);
    void open(const ServerAddress& address, const std::string& user, const char* password);
    void checkTls() const;
    Watchdog::Clock::time_point callEnds();
    [[noreturn]] void fail(const char* doing);

    Log& m_log;
    bool m_connected = false;
    std::chrono::seconds m_callLimit;
    std::optional<Watchdog::Clock::time_point> m_callEnds;
    Watchdog m_watchdog;
    std::unique_ptr<MYSQL, Close> m_mysql;
};

}  // namespace xr::mariadb

#endif
