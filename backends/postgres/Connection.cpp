// SPDX-License-Identifier: MIT
#include "Connection.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <vector>

#include "PipeSignal.h"
#include "Texts.h"

namespace xr::postgres {

namespace {

constexpr unsigned kLongestStatement = 20;  // seconds

// The client library prints notices of the server to standard error otherwise.
void ignoreNotice(void* /*argument*/, const char* /*message*/) {
}

// What the account or the database sets otherwise does not count. Without a search path of our own, anybody who may create
// functions and operators in a schema that is searched could have them called in our name. A standby refuses serializable
// transactions.
std::string optionsFor(const Settings& settings) {
    return "-c statement_timeout=" + std::to_string(std::min(kLongestStatement, settings.readTimeout) * 1000) +
           " -c lock_timeout=1000 -c idle_session_timeout=0 -c jit=off -c search_path=pg_catalog"
           " -c default_transaction_isolation=read\\ committed";
}

// The value that the client library uses for one of its settings. Takes the list.
std::string settingOf(PQconninfoOption* list, std::string_view keyword) {
    struct Free {
        void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
    };
    const std::unique_ptr<PQconninfoOption, Free> options(list);
    for (const PQconninfoOption* option = list; option && option->keyword; ++option)
        if (option->keyword == keyword) return option->val ? option->val : "";
    return "";
}

}  // namespace

std::string defaultDatabase() {
    return settingOf(PQconndefaults(), "dbname");
}

std::string_view Result::text(int column) const {
    // NULL has no bytes.
    return {PQgetvalue(m_rows.get(), m_row, column),
            static_cast<std::size_t>(PQgetlength(m_rows.get(), m_row, column))};
}

std::uint64_t Result::number(int column) const {
    return toNumber(text(column));
}

const char* Result::error(int field) const {
    const char* text = PQresultErrorField(m_rows.get(), field);
    return text ? text : "";
}

Connection::Connection(const Account& account, const Settings& settings, Log& log)
    : m_log(log), m_callLimit(settings.readTimeout) {
    const std::optional<ServerAddress> address = parseServerText(account.server);
    if (!address) {
        m_log.notice("The server must be a host, host:port, [IPv6 address]:port or the directory of a socket");
        throw StatusError(kBadServerText);
    }
    const PipeSignalGuard guard;
    m_callEnds = Clock::now() + std::chrono::seconds(settings.connectTimeout);
    begin(account, *address, settings);
    establish();
    m_callEnds.reset();
    // Answers have the code in a field of its own.
    PQsetErrorVerbosity(m_connection.get(), PQERRORS_DEFAULT);
    PQsetnonblocking(m_connection.get(), 1);
    tellOfClearText();
}

Connection::~Connection() {
    const PipeSignalGuard guard;
    m_connection.reset();
}

void Connection::close() {
    const PipeSignalGuard guard;
    const int socket = fcntl(PQsocket(m_connection.get()), F_DUPFD_CLOEXEC, 0);
    m_connection.reset();
    // The server's process closes its end as the last thing that it does.
    pollfd state{socket, POLLRDHUP, 0};
    const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(m_callLimit).count();
    if (socket >= 0) poll(&state, 1, static_cast<int>(limit));
    if (socket >= 0) ::close(socket);
}

// Each value goes by itself: in a connection string a password could not be told from further settings.
void Connection::begin(const Account& account, const ServerAddress& address, const Settings& settings) {
    const std::string host = !address.socket.empty() ? address.socket : account.server.empty() ? "" : address.host;
    const std::string port = address.port == 0 ? "" : std::to_string(address.port);
    const std::string timeout = std::to_string(settings.connectTimeout);
    const std::string options = optionsFor(settings);
    std::vector<const char*> keywords;
    std::vector<const char*> values;
    const auto add = [&](const char* keyword, const std::string& value) {
        if (value.empty()) return;
        keywords.push_back(keyword);
        values.push_back(value.c_str());
    };
    const std::string application = "vexo", encoding = "UTF8", never = "disable";
    add("host", host);
    add("port", port);
    add("user", account.user);
    add("password", account.password);
    add("dbname", account.database);
    add("connect_timeout", timeout);
    add("application_name", application);
    add("client_encoding", encoding);
    add("gssencmode", never);
    add("options", options);
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    m_connection.reset(PQconnectStartParams(keywords.data(), values.data(), 0));
    if (!m_connection) throw std::bad_alloc();
    // At once: messages about a refused connection have no code otherwise, only words in some language.
    PQsetErrorVerbosity(m_connection.get(), PQERRORS_VERBOSE);
    PQsetNoticeProcessor(m_connection.get(), ignoreNotice, nullptr);
    if (PQstatus(m_connection.get()) == CONNECTION_BAD) refuse(CONNECTION_BAD);
}

void Connection::establish() {
    PostgresPollingStatusType state = PGRES_POLLING_WRITING;
    while (state != PGRES_POLLING_OK) {
        if (state == PGRES_POLLING_READING) wait(POLLIN);
        if (state == PGRES_POLLING_WRITING) wait(POLLOUT);
        const ConnStatusType reached = PQstatus(m_connection.get());
        state = PQconnectPoll(m_connection.get());
        if (state == PGRES_POLLING_FAILED) refuse(reached);
    }
}

void Connection::tellOfClearText() {
    PGconn* connection = m_connection.get();
    const char* host = PQhost(connection);
    const std::string mode = settingOf(PQconninfo(connection), "sslmode");
    const bool overSocket = host && host[0] == '/';
    if (overSocket || PQsslInUse(connection) != 0 || (mode != "prefer" && mode != "allow")) return;
    m_log.notice("The connection is not encrypted, which PGSSLMODE=" + mode +
                 " allows. PGSSLMODE=verify-full demands TLS, PGSSLMODE=disable says that none is wanted");
}

void Connection::wait(short events) {
    pollfd state{PQsocket(m_connection.get()), events, 0};
    if (!m_callEnds) m_callEnds = Clock::now() + m_callLimit;
    while (state.fd >= 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_callEnds - Clock::now()).count();
        const int ready = poll(&state, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready > 0) return;
        if (ready < 0 && errno != EINTR) throw StatusError(kOtherError);
        if (left <= 0) giveUp();
    }
    throw StatusError(kConnectionLost, true);
}

void Connection::giveUp() {
    m_log.notice(
        "The server was given up: it took longer than the time-out allows (XRPOSTGRES_CONNECT_TIMEOUT, "
        "XRPOSTGRES_READ_TIMEOUT)");
    throw StatusError(kTimeout, true);
}

void Connection::refuse(ConnStatusType reached) {
    const Refusal refusal = toRefusal(PQerrorMessage(m_connection.get()));
    const std::string_view sqlState = refusal.sqlState;
    Status status = statusOfConnecting(sqlState);
    if (sqlState.empty() && PQconnectionNeedsPassword(m_connection.get()) != 0) status = kAccessDenied;
    if (sqlState.empty() && reached == CONNECTION_SSL_STARTUP) status = kNoSecureConnection;
    // Neither what the client library says itself nor a name of a setting gives an account away.
    const std::string text = "Connecting failed: " + refusal.reason;
    sqlState.empty() || status == kUnsupportedServer ? m_log.notice(text) : m_log.tell(text);
    throw StatusError(status);
}

Result Connection::query(const char* statement, const std::optional<std::string>& parameter) {
    const PipeSignalGuard guard;
    Result rows = ask(statement, parameter);
    if (isUntranslatable(rows.error(PG_DIAG_SQLSTATE))) {
        m_log.tell("The encoding of this database cannot show all names of this server: they are read as bytes");
        ask("SET client_encoding TO SQL_ASCII", std::nullopt);
        rows = ask(statement, parameter);
    }
    if (PQresultStatus(rows.m_rows.get()) == PGRES_TUPLES_OK) return rows;
    fail(statement, rows.error(PG_DIAG_SQLSTATE), rows.error(PG_DIAG_MESSAGE_PRIMARY));
}

Result Connection::ask(const char* statement, const std::optional<std::string>& parameter) {
    PGconn* connection = m_connection.get();
    const char* const value = parameter ? parameter->c_str() : nullptr;
    // Without a parameter a statement goes in one message instead of five.
    const int sent = value ? PQsendQueryParams(connection, statement, 1, nullptr, &value, nullptr, nullptr, 0)
                           : PQsendQuery(connection, statement);
    if (sent == 0) fail(statement, "", PQerrorMessage(connection));
    Result rows(nullptr);
    // The answer has to be read to its end, or the next statement could not be sent.
    for (Result next = receive(statement); next.m_rows; next = receive(statement))
        rows = std::move(next);
    return rows;
}

Result Connection::receive(const char* statement) {
    PGconn* connection = m_connection.get();
    int unsent = PQflush(connection);
    while (unsent > 0 || (unsent == 0 && PQisBusy(connection) != 0)) {
        wait(static_cast<short>(unsent > 0 ? POLLIN | POLLOUT : POLLIN));
        unsent = PQconsumeInput(connection) == 0 ? -1 : PQflush(connection);
    }
    if (unsent < 0) fail(statement, "", PQerrorMessage(connection));
    return Result(PQgetResult(connection));
}

void Connection::fail(const char* statement, std::string_view sqlState, const char* message) {
    const bool lost = PQstatus(m_connection.get()) == CONNECTION_BAD;
    m_log.tell(toLine(std::string(statement).substr(0, 100) + " failed: " + std::string(sqlState) + " " + message));
    const Status status = lost ? kConnectionLost : statusOfStatement(sqlState);
    throw StatusError(status, isLost(status));
}

}  // namespace xr::postgres
