// SPDX-License-Identifier: MIT
#include "Engine.h"

#include <algorithm>
#include <utility>

#include "Queries.h"

namespace xr::postgres {

namespace {

constexpr int kOldestVersion = 140000;

}  // namespace

Engine::Engine(std::string server, std::string user, std::string password)
    : m_settings("XRPOSTGRES_"),
      m_log("xrpostgres", m_settings.logFile, m_settings.notices),
      m_account{std::move(server), std::move(user), std::move(password), defaultDatabase()},
      m_otherDatabases(variable("XRPOSTGRES_DATABASES")) {
    if (m_account.database.empty()) m_account.database = "postgres";
}

Engine::~Engine() = default;

std::unique_ptr<Connection> Engine::makeConnection() {
    return std::make_unique<Connection>(m_account, m_settings, m_log);
}

void Engine::prepare() {
    if (connection().serverVersion() < kOldestVersion) {
        m_log.notice("The server is older than PostgreSQL 14");
        throw StatusError(kUnsupportedServer);
    }
    readServer();
    readDatabases();
    // There is no connecting again, unless to other databases.
    if (m_otherDatabases.areAsked()) return;
    std::fill(m_account.password.begin(), m_account.password.end(), '\0');
    m_account.password.clear();
}

void Engine::readServer() {
    Result rows = connection().query(queries::kServer);
    if (!rows.next()) throw StatusError(kOtherError);
    if (!rows.flag(0)) throwNoPrivilege();
    if (rows.number32(1) != connection().processId()) {
        m_log.notice("Something between here and the server shares its connections (a pooler): name the server itself");
        throw StatusError(kUnsupportedServer);
    }
    m_server.database = rows.number32(2);
    m_server.blockSize = rows.number32(3);
    m_server.maxConnections = rows.number32(4);
    m_server.maxWorkers = rows.number32(5);
    m_server.inRecovery = rows.flag(6);
    m_server.version = rows.text(7);
}

void Engine::throwNoPrivilege() {
    m_log.notice("The account may not see other sessions. GRANT pg_read_all_stats to it");
    throw StatusError(kNoPrivilege);
}

void Engine::readDatabases() {
    m_databases.clear();
    Result rows = connection().query(queries::kDatabases);
    while (rows.next())
        m_databases.emplace(rows.number32(0), rows.text(1));
}

Identity Engine::identity() {
    // 150018 is 15.18. The third number is gone since version 10.
    const int version = connection().serverVersion();
    return {
        {version / 10000, version % 10000, 0},
        "PostgreSQL " + m_server.version
    };
}

}  // namespace xr::postgres
