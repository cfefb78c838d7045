// SPDX-License-Identifier: MIT
#include "Connection.h"

#include <errmsg.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>

#include "OptionFile.h"
#include "PipeSignal.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

// Ordered. Every one of them has its sentence in the message bundle.
constexpr std::array<unsigned, 28> kKnownErrors = {1040, 1045, 1053, 1054, 1109, 1129, 1130, 1142, 1146, 1193,
                                                   1203, 1226, 1227, 1317, 1698, 1820, 1927, 1969, 2002, 2003,
                                                   2005, 2006, 2008, 2013, 2014, 2026, 2059, 4151};

constexpr unsigned kWriteTimeout = 10;  // seconds
constexpr unsigned kNoFiles = 0;
constexpr my_bool kYes = 1;
constexpr my_bool kNo = 0;

// Ways to log in that never show the password itself to whoever is at the other end. The others do, or encrypt it with
// a key that comes from there, and a client lets the server choose.
constexpr const char* kSafeInClear = "mysql_native_password,client_ed25519,auth_gssapi_client";

// Nothing listens there, and the kernel refuses to connect to it before anything is sent.
constexpr const char* kNoHost = "255.255.255.255";

// The one that the connection being made is watched by: the client library passes no argument of ours.
thread_local Watchdog* s_connecting = nullptr;

// The client library calls this whenever it has to wait for its socket.
int waitForSocket(my_socket socket, my_bool reading, int timeoutMs) {
    if (s_connecting) s_connecting->watch(socket);
    pollfd state{socket, static_cast<short>(reading != 0 ? POLLIN : POLLOUT), 0};
    int ready = 0;
    do {
        ready = poll(&state, 1, timeoutMs);
    } while (ready < 0 && errno == EINTR);
    return ready;
}

const char* orNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

// Leaves nothing of a password in memory.
void forget(char* password) {
    if (password) std::fill_n(password, std::strlen(password), '\0');
}

// Whether the connection is of no use any more.
bool isLost(std::int16_t status) {
    constexpr std::array<int, 4> kLost = {1053, 1927, 2006, 2013};
    return std::find(kLost.begin(), kLost.end(), status) != kLost.end();
}

}  // namespace

std::int16_t toStatus(unsigned error) {
    const bool known = std::binary_search(kKnownErrors.begin(), kKnownErrors.end(), error);
    return known ? static_cast<std::int16_t>(error) : kOtherError;
}

Result::Result(MYSQL_RES* rows) : m_rows(rows) {
}

bool Result::next() {
    m_row = m_rows ? mysql_fetch_row(m_rows.get()) : nullptr;
    m_lengths = m_row ? mysql_fetch_lengths(m_rows.get()) : nullptr;
    return m_row != nullptr;
}

std::string_view Result::text(unsigned column) const {
    return isNull(column) ? std::string_view() : std::string_view(m_row[column], m_lengths[column]);
}

std::uint64_t Result::number(unsigned column) const {
    return toNumber(text(column));
}

bool Result::isNull(unsigned column) const {
    return m_row[column] == nullptr;
}

Connection::Connection(const std::string& server, const std::string& user, const std::string& password,
                       const Settings& settings, Log& log)
    : m_log(log), m_callLimit(settings.readTimeout) {
    const std::optional<ServerAddress> address = parseServerText(server);
    if (!address) {
        m_log.notice("The server must be a host, host:port, [IPv6 address]:port or the path of a socket");
        throw StatusError(kBadServerText);
    }
    const PipeSignalGuard guard;
    m_mysql.reset(mysql_init(nullptr));
    if (!m_mysql) throw std::bad_alloc();

    bool secure = settings.tlsRequired;
    if (!settings.optionFile.empty() && readOptions(settings.optionFile)) secure = true;
    setOptions(settings, *address, secure);
    m_callEnds = Watchdog::Clock::now() + std::chrono::seconds(settings.connectTimeout);
    // An empty password is an empty password, unless there is an option file that may hold one.
    open(*address, user, settings.optionFile.empty() ? password.c_str() : orNull(password));
    m_callEnds.reset();
    if (secure) checkTls();
    if (mariadb_connection(m_mysql.get()) == 0) {
        m_log.notice("The server is not a MariaDB server");
        throw StatusError(kUnsupportedServer);
    }
}

Connection::~Connection() {
    const PipeSignalGuard guard;
    m_mysql.reset();
}

// Lets the client library read the file, whose spelling and groups it knows best, before anything is set here: what the
// file says about TLS and protocols must not have the last word. It reads files only on its way to a server, so it is
// sent on a way that leads nowhere, with nothing to betray. Whether the file asks for TLS.
bool Connection::readOptions(const std::string& optionFile) {
    const auto refuse = [&](const std::string& reason) {
        m_log.notice("The option file " + optionFile + " cannot be used: " + reason);
        throw StatusError(kBadOptionFile);
    };
    // It is read twice, here and by the client library, which a pipe would not survive.
    std::error_code unknown;
    const std::filesystem::file_status status = std::filesystem::status(optionFile, unknown);
    if (exists(status) && !is_regular_file(status)) refuse("it is not a regular file");
    std::ifstream lines(optionFile);
    if (!lines) refuse(std::generic_category().message(errno));
    const OptionFileContents contents = readOptionFile(lines);
    if (lines.bad()) refuse(std::generic_category().message(errno));
    if (contents.includes) refuse("it includes others (!include, !includedir); name the file that has the options");

    MYSQL* mysql = m_mysql.get();
    mysql_optionsv(mysql, MYSQL_READ_DEFAULT_FILE, optionFile.c_str());
    mysql_optionsv(mysql, MYSQL_READ_DEFAULT_GROUP, "vexo");
    mysql_real_connect(mysql, kNoHost, "", "", nullptr, 1, nullptr, CLIENT_REMEMBER_OPTIONS);
    return contents.tls;
}

void Connection::setOptions(const Settings& settings, const ServerAddress& address, bool secure) {
    MYSQL* mysql = m_mysql.get();
    // The watchdog gives up first, and tells so: these stand behind it.
    constexpr unsigned kLater = 2;
    const unsigned connectTimeout = settings.connectTimeout + kLater;
    const unsigned readTimeout = settings.readTimeout + kLater;
    mysql_optionsv(mysql, MYSQL_OPT_CONNECT_TIMEOUT, &connectTimeout);
    mysql_optionsv(mysql, MYSQL_OPT_READ_TIMEOUT, &readTimeout);
    mysql_optionsv(mysql, MYSQL_OPT_WRITE_TIMEOUT, &kWriteTimeout);
    mysql_optionsv(mysql, MARIADB_OPT_IO_WAIT, waitForSocket);
    mysql_optionsv(mysql, MYSQL_SET_CHARSET_NAME, "utf8mb4");
    // A server may otherwise ask for any file that this process can read.
    mysql_optionsv(mysql, MYSQL_OPT_LOCAL_INFILE, &kNoFiles);
    mysql_optionsv(mysql, MYSQL_OPT_CONNECT_ATTR_ADD, "program_name", "vexo");
    // A new connection would know nothing of what was set on the old one.
    mysql_optionsv(mysql, MYSQL_OPT_RECONNECT, &kNo);
    const int protocol = address.unixSocket ? MYSQL_PROTOCOL_SOCKET : MYSQL_PROTOCOL_TCP;
    mysql_optionsv(mysql, MYSQL_OPT_PROTOCOL, &protocol);
    if (!secure) {
        if (!address.unixSocket) mysql_optionsv(mysql, MARIADB_OPT_RESTRICTED_AUTH, kSafeInClear);
        return;
    }
    if (!settings.certificateAuthority.empty()) {
        mysql_optionsv(mysql, MYSQL_OPT_SSL_CA, settings.certificateAuthority.c_str());
    }
    // Enforcing alone connects in clear to a server without TLS. Only verifying refuses that.
    mysql_optionsv(mysql, MYSQL_OPT_SSL_ENFORCE, &kYes);
    mysql_optionsv(mysql, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &kYes);
}

void Connection::open(const ServerAddress& address, const std::string& user, const char* password) {
    s_connecting = &m_watchdog;
    const WatchdogGuard guard(m_watchdog, callEnds());
    const bool connected = mysql_real_connect(m_mysql.get(), address.host.c_str(), orNull(user), password, nullptr,
                                              address.port, orNull(address.socket), 0) != nullptr;
    s_connecting = nullptr;
    if (!connected) fail("Connecting");
    m_connected = true;
    // The client library keeps them for connecting again, which never happens.
    forget(m_mysql->passwd);
    forget(m_mysql->options.password);
    m_watchdog.watch(mysql_get_socket(m_mysql.get()));
}

void Connection::checkTls() const {
    my_bool verified = 0;
    mysql_get_optionv(m_mysql.get(), MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &verified);
    if (verified != 0 && mysql_get_ssl_cipher(m_mysql.get())) return;
    m_log.notice("The connection is refused: it is not encrypted, or the server was not verified");
    throw StatusError(kNoSecureConnection);
}

Watchdog::Clock::time_point Connection::callEnds() {
    if (!m_callEnds) m_callEnds = Watchdog::Clock::now() + m_callLimit;
    return *m_callEnds;
}

void Connection::execute(const char* statement) {
    const PipeSignalGuard guard;
    const WatchdogGuard limit(m_watchdog, callEnds());
    if (mysql_query(m_mysql.get(), statement) != 0) fail(statement);
}

Result Connection::query(const char* statement) {
    const PipeSignalGuard guard;
    const WatchdogGuard limit(m_watchdog, callEnds());
    if (mysql_query(m_mysql.get(), statement) != 0) fail(statement);
    MYSQL_RES* rows = mysql_store_result(m_mysql.get());
    // A statement that is killed or takes too long may fail only here.
    if (!rows) fail(statement);
    return Result(rows);
}

void Connection::fail(const char* doing) {
    const unsigned error = mysql_errno(m_mysql.get());
    const std::string text =
        std::string(doing).substr(0, 100) + " failed: " + std::to_string(error) + " " + mysql_error(m_mysql.get());
    // What the client library says itself names nobody's account. What has no status of its own is told nowhere else.
    const bool fromClient = error >= CR_MIN_ERROR && error <= CR_MAX_ERROR;
    (fromClient && !m_connected) || toStatus(error) == kOtherError ? m_log.notice(text) : m_log.tell(text);
    if (m_watchdog.hasFired()) {
        m_log.notice(
            "The server was given up: it took longer than the time-out allows (XRMARIADB_CONNECT_TIMEOUT, "
            "XRMARIADB_READ_TIMEOUT)");
        throw StatusError(kConnectionLost, true);
    }
    // What became of a server behind TLS is all the same to the client library.
    if (m_connected && error == CR_SSL_CONNECTION_ERROR) throw StatusError(kConnectionLost, true);
    if (error == CR_PLUGIN_NOT_ALLOWED) {
        m_log.notice(
            "This way to log in needs the password in a form that is safe over TLS only: XRMARIADB_SSL_CA asks for "
            "TLS");
        throw StatusError(kNoSuchMethod);
    }
    throw StatusError(toStatus(error), isLost(toStatus(error)));
}

std::uint64_t Connection::serverVersion() const {
    return mysql_get_server_version(m_mysql.get());
}

std::string Connection::serverText() const {
    return mysql_get_server_info(m_mysql.get());
}

std::uint64_t Connection::id() const {
    return mysql_thread_id(m_mysql.get());
}

bool Connection::overUnixSocket() const {
    int domain = 0;
    socklen_t size = sizeof domain;
    return getsockopt(mysql_get_socket(m_mysql.get()), SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX;
}

}  // namespace xr::mariadb
