// SPDX-License-Identifier: MIT
#include "Engine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "ClientText.h"
#include "Counters.h"
#include "Queries.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

constexpr unsigned kLongestStatement = 20;  // seconds

constexpr std::int16_t kMayNotRead = 1142;
constexpr std::int16_t kNoProcessPrivilege = 1227;

// Tables and columns that are unknown here or may not be read.
bool isMissingSource(std::int16_t status) {
    constexpr std::array<int, 4> kMissing = {1054, 1109, kMayNotRead, 1146};
    return std::find(kMissing.begin(), kMissing.end(), status) != kMissing.end();
}

}  // namespace

Engine::Engine(std::string server, std::string user, std::string password)
    : m_server(std::move(server)),
      m_user(std::move(user)),
      m_password(std::move(password)),
      m_log("xrmariadb", m_settings.logFile, m_settings.notices) {
}

Engine::~Engine() = default;

Identity Engine::identity() {
    const std::uint64_t version = connection().serverVersion();
    return {
        {static_cast<std::int32_t>(version / 10000), static_cast<std::int32_t>(version / 100 % 100),
         static_cast<std::int32_t>(version % 100)},
        connection().serverText()
    };
}

std::unique_ptr<Connection> Engine::makeConnection() {
    return std::make_unique<Connection>(m_server, m_user, m_password, m_settings, m_log);
}

void Engine::prepare() {
    std::array<char, 256> session{};
    std::snprintf(session.data(), session.size(), queries::kSession,
                  std::min(kLongestStatement, m_settings.readTimeout));
    connection().execute(session.data());
    checkProcessPrivilege();
    refreshVariables();
    readInstruments();
    // There is no connecting again, so nothing needs it any more.
    std::fill(m_password.begin(), m_password.end(), '\0');
    m_password.clear();
}

void Engine::checkProcessPrivilege() {
    if (queryOptional(queries::kProcessPrivilege, "transactions and row locks are not shown")) return;
    Result grants = connection().query(queries::kGrants);
    while (grants.next())
        if (grantsProcess(grants.text(0))) return;
    throw StatusError(kNoProcessPrivilege);
}

void Engine::readInstruments() {
    m_performanceSchema = isOn("performance_schema");
    if (!m_performanceSchema) {
        m_log.notice(
            "performance_schema is off: sessions show no counters, process ids and applications, files are those of "
            "InnoDB only, and there are no requests by protocol. performance_schema=ON in the server's configuration "
            "brings them");
        return;
    }
    // Where the instruments may not be read, the locks are tried for themselves.
    m_lockInstrument = true;
    auto rows = queryOptional(queries::kInstruments, "it is unknown which instruments are on");
    if (!rows) return;
    bool sockets = false;
    m_lockInstrument = false;
    while (rows->next()) {
        if (rows->text(1) != "YES") continue;
        (rows->text(0).substr(0, 9) == "wait/lock" ? m_lockInstrument : sockets) = true;
    }
    if (!m_lockInstrument) {
        m_log.notice(
            "The instrument wait/lock/metadata/sql/mdl is off: table locks are not recorded. "
            "performance-schema-instrument='wait/lock/metadata/sql/mdl=ON' in the server's configuration brings them");
    }
    if (!sockets) m_log.tell("The instruments wait/io/socket/% are off: addresses are the ones of the process list");
}

std::optional<Result> Engine::queryOptional(const char* statement, const char* loss) {
    if (m_refused.count(statement) != 0) return std::nullopt;
    try {
        return connection().query(statement);
    } catch (const StatusError& error) {
        if (!isMissingSource(error.status())) throw;
        m_refused.emplace(statement);
        const std::string text = std::string("Not available (status ") + std::to_string(error.status()) + "): " + loss;
        if (error.status() == kMayNotRead) {
            m_log.tell(text);
            m_log.notice(
                "The account may not read all of performance_schema, so a record shows less (the log has the details). "
                "GRANT SELECT ON performance_schema.* to it");
        } else {
            m_log.notice(text);
        }
        return std::nullopt;
    }
}

Result Engine::queryOrEmpty(const char* statement, const char* loss) {
    std::optional<Result> rows = queryOptional(statement, loss);
    return rows ? std::move(*rows) : Result(nullptr);
}

Variables Engine::readVariables(const char* statement) {
    Variables variables;
    Result rows = connection().query(statement);
    while (rows.next())
        variables.emplace(rows.text(0), rows.text(1));
    return variables;
}

void Engine::refreshVariables() {
    constexpr std::chrono::milliseconds kFresh{500};
    if (m_variablesRead && Clock::now() - *m_variablesRead < kFresh) return;
    m_variables = readVariables(queries::kVariables);
    m_variablesRead = Clock::now();
}

std::string Engine::variable(std::string_view name) const {
    const auto found = m_variables.find(name);
    return found == m_variables.end() ? "" : found->second;
}

std::uint64_t Engine::number(std::string_view name) const {
    return toNumber(variable(name));
}

bool Engine::isOn(std::string_view name) const {
    return variable(name) == "ON";
}

bool Engine::readsCounters(std::size_t sessions) {
    if (!m_performanceSchema) return false;
    if (sessions <= m_settings.counterLimit) return true;
    m_log.tell("More than " + std::to_string(m_settings.counterLimit) +
               " sessions: their record counters and disk accesses read 0 (XRMARIADB_COUNTER_LIMIT)");
    return false;
}

bool Engine::readsTablespaces() {
    if (!isOn("innodb_read_only")) return true;
    m_log.notice(
        "InnoDB is read-only (innodb_read_only or innodb_force_recovery): its page sizes are not shown, and its file "
        "sizes only where the files can be seen from here, since asking for tablespaces would end the server");
    return false;
}

void Engine::rememberAges(const std::vector<Process>& processes) {
    const Clock::time_point now = Clock::now();
    std::unordered_map<std::uint64_t, Clock::time_point> started;
    started.reserve(processes.size());
    for (const Process& process : processes) {
        const auto known = m_startedBefore.find(process.id);
        started.emplace(process.id, known != m_startedBefore.end()
                                        ? known->second
                                        : now - std::chrono::milliseconds(saturate(process.periodMs)));
    }
    m_startedBefore = std::move(started);
}

std::uint64_t Engine::knownAgeMs(std::uint64_t process) const {
    const auto known = m_startedBefore.find(process);
    if (known == m_startedBefore.end()) return 0;
    const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - known->second);
    return static_cast<std::uint64_t>(age.count());
}

}  // namespace xr::mariadb
