// SPDX-License-Identifier: MIT
#include "Connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <new>

#include "PipeSignal.h"
#include "ServerText.h"
#include "Texts.h"

namespace xrmariadb {

namespace {

// Ordered. Every one of them has its sentence in the message bundle.
constexpr std::array<unsigned, 28> kKnownErrors = {1040, 1045, 1053, 1054, 1109, 1129, 1130, 1142, 1146, 1193,
                                                   1203, 1226, 1227, 1317, 1698, 1820, 1927, 1969, 2002, 2003,
                                                   2005, 2006, 2008, 2013, 2014, 2026, 2059, 4151};

constexpr unsigned kWriteTimeout = 10;  // seconds
constexpr unsigned kNoFiles = 0;
constexpr my_bool kYes = 1;

// Whether an option file speaks of TLS at all, whatever its group: too careful is better than a clear connection. The
// same goes for a file that cannot be read, and might have.
bool mentionsTls(const std::string& optionFile, Log& log) {
    std::ifstream lines(optionFile);
    if (!lines) {
        log.tell("The option file " + optionFile + " cannot be read");
        throw StatusError(kOtherError);
    }
    for (std::string line; std::getline(lines, line);) {
        const std::size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos) continue;
        const std::string word = line.substr(start, 3);
        if (word == "ssl" || word == "tls") return true;
    }
    return false;
}

const char* orNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

}  // namespace

bool StatusError::connectionLost() const {
    constexpr std::array<int, 4> kLost = {1053, 1927, 2006, 2013};
    return std::find(kLost.begin(), kLost.end(), m_status) != kLost.end();
}

std::int16_t toStatus(unsigned error) {
    const bool known = std::binary_search(kKnownErrors.begin(), kKnownErrors.end(), error);
    return known ? static_cast<std::int16_t>(error) : kOtherError;
}

Result::Result(MYSQL_RES* rows) : m_rows(rows) {
}

bool Result::next() {
    m_row = mysql_fetch_row(m_rows.get());
    m_lengths = m_row == nullptr ? nullptr : mysql_fetch_lengths(m_rows.get());
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
    : m_log(log) {
    const std::optional<ServerAddress> address = parseServerText(server);
    if (!address) {
        m_log.tell("The server text is none of host, host:port, [address]:port and a socket's path");
        throw StatusError(kBadServerText);
    }
    const PipeSignalGuard guard;
    m_mysql.reset(mysql_init(nullptr));
    if (m_mysql == nullptr) throw std::bad_alloc();

    const bool secure =
        settings.tlsRequired || (!settings.optionFile.empty() && mentionsTls(settings.optionFile, m_log));
    setOptions(settings, secure);
    if (address->forceTcp) {
        const int tcp = MYSQL_PROTOCOL_TCP;
        mysql_optionsv(m_mysql.get(), MYSQL_OPT_PROTOCOL, &tcp);
    }
    // An empty password is an empty password, unless there is an option file that may hold one.
    const char* secret = settings.optionFile.empty() ? password.c_str() : orNull(password);
    if (mysql_real_connect(m_mysql.get(), orNull(address->host), orNull(user), secret, nullptr, address->port,
                           orNull(address->socket), 0) == nullptr) {
        fail("Connecting");
    }
    if (secure) checkTls();
    if (mariadb_connection(m_mysql.get()) == 0) {
        m_log.tell("The server is not a MariaDB server");
        throw StatusError(kUnsupportedServer);
    }
}

Connection::~Connection() {
    const PipeSignalGuard guard;
    m_mysql.reset();
}

void Connection::setOptions(const Settings& settings, bool secure) {
    MYSQL* mysql = m_mysql.get();
    // Reading times out by silence; this one also bounds the handshake, which the others do not.
    mysql_optionsv(mysql, MYSQL_OPT_CONNECT_TIMEOUT, &settings.connectTimeout);
    mysql_optionsv(mysql, MYSQL_OPT_READ_TIMEOUT, &settings.readTimeout);
    mysql_optionsv(mysql, MYSQL_OPT_WRITE_TIMEOUT, &kWriteTimeout);
    mysql_optionsv(mysql, MYSQL_SET_CHARSET_NAME, "utf8mb4");
    // A server may otherwise ask for any file that this process can read.
    mysql_optionsv(mysql, MYSQL_OPT_LOCAL_INFILE, &kNoFiles);
    mysql_optionsv(mysql, MYSQL_OPT_CONNECT_ATTR_ADD, "program_name", "vexo");
    if (!settings.optionFile.empty()) {
        mysql_optionsv(mysql, MYSQL_READ_DEFAULT_FILE, settings.optionFile.c_str());
        mysql_optionsv(mysql, MYSQL_READ_DEFAULT_GROUP, "vexo");
    }
    if (!secure) return;
    if (!settings.certificateAuthority.empty()) {
        mysql_optionsv(mysql, MYSQL_OPT_SSL_CA, settings.certificateAuthority.c_str());
    }
    // Enforcing alone connects in clear to a server without TLS. Only verifying refuses that.
    mysql_optionsv(mysql, MYSQL_OPT_SSL_ENFORCE, &kYes);
    mysql_optionsv(mysql, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &kYes);
}

void Connection::checkTls() const {
    my_bool verified = 0;
    mysql_get_optionv(m_mysql.get(), MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &verified);
    if (verified != 0 && mysql_get_ssl_cipher(m_mysql.get()) != nullptr) return;
    m_log.tell("The connection is refused: it is not encrypted, or the option file forbids to verify the server");
    throw StatusError(kNoSecureConnection);
}

void Connection::execute(const char* statement) {
    const PipeSignalGuard guard;
    if (mysql_query(m_mysql.get(), statement) != 0) fail(statement);
}

Result Connection::query(const char* statement) {
    const PipeSignalGuard guard;
    if (mysql_query(m_mysql.get(), statement) != 0) fail(statement);
    MYSQL_RES* rows = mysql_store_result(m_mysql.get());
    // A statement that is killed or takes too long may fail only here.
    if (rows == nullptr) fail(statement);
    return Result(rows);
}

void Connection::fail(const char* doing) const {
    const unsigned error = mysql_errno(m_mysql.get());
    const std::string verb = std::string(doing).substr(0, 100);
    m_log.tell(verb + " failed: " + std::to_string(error) + " " + mysql_error(m_mysql.get()));
    throw StatusError(toStatus(error));
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

}  // namespace xrmariadb
