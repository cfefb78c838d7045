// SPDX-License-Identifier: MIT
// One connection to a server, the statements on it and their results. Nothing here waits longer than it may: the client
// library's own calls would wait for a frozen server for ever.
#ifndef VEXO_POSTGRES_CONNECTION_H
#define VEXO_POSTGRES_CONNECTION_H

#include <libpq-fe.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Environment.h"
#include "Log.h"
#include "ServerText.h"
#include "StatusError.h"
#include "Statuses.h"

namespace xr::postgres {

// All rows of one answer, already in memory.
class Result {
public:
    explicit Result(PGresult* rows) : m_rows(rows) {}

    // How many rows there are, to reserve memory for.
    std::size_t size() const { return static_cast<std::size_t>(PQntuples(m_rows.get())); }

    // Steps to the next row, the first one at first.
    bool next() { return ++m_row < PQntuples(m_rows.get()); }

    // A column of the row, valid as long as the result. NULL reads as "", 0 and false.
    std::string_view text(int column) const;
    std::uint64_t number(int column) const;
    std::uint32_t number32(int column) const { return static_cast<std::uint32_t>(number(column)); }
    bool flag(int column) const { return text(column) == "t"; }

private:
    friend class Connection;
    const char* error(int field) const;  // "" if there was none
    struct Free {
        void operator()(PGresult* rows) const { PQclear(rows); }
    };
    std::unique_ptr<PGresult, Free> m_rows;
    int m_row = -1;
};

// Whom to connect to, and as whom. Empty parts are the client library's defaults.
struct Account {
    std::string server;
    std::string user;
    std::string password;
    std::string database;
};

// The database that PGSERVICE or PGDATABASE names, "" if neither does.
std::string defaultDatabase();

class Connection {
public:
    using Clock = std::chrono::steady_clock;

    // Connects, with TLS as the client library's own settings say. Throws StatusError.
    Connection(const Account& account, const Settings& settings, Log& log);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Begins a call of the interface: all its statements together may take as long as the settings say.
    void beginCall() { m_callEnds.reset(); }

    // Closes the connection, and waits until the server has let go of it: it lists a session until then. Nothing may be asked
    // afterwards.
    void close();

    // Runs a statement, with at most one parameter. Throws StatusError.
    Result query(const char* statement, const std::optional<std::string>& parameter = std::nullopt);

    // 150018 for 15.18.
    int serverVersion() const { return PQserverVersion(m_connection.get()); }

    // The process that the server says is serving this connection.
    std::uint32_t processId() const { return static_cast<std::uint32_t>(PQbackendPID(m_connection.get())); }

private:
    struct Finish {
        void operator()(PGconn* connection) const { PQfinish(connection); }
    };

    void begin(const Account& account, const ServerAddress& address, const Settings& settings);
    void establish();
    void tellOfClearText();
    Result ask(const char* statement, const std::optional<std::string>& parameter);
    Result receive(const char* statement);
    void wait(short events);
    [[noreturn]] void giveUp();
    [[noreturn]] void refuse(ConnStatusType reached);
    [[noreturn]] void fail(const char* statement, std::string_view sqlState, const char* message);

    Log& m_log;
    std::chrono::seconds m_callLimit;
    std::optional<Clock::time_point> m_callEnds;
    std::unique_ptr<PGconn, Finish> m_connection;
};

}  // namespace xr::postgres

#endif
