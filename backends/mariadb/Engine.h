// SPDX-License-Identifier: MIT
// One handle of the interface: a server, what it can tell, and the snapshots taken of it.
#ifndef VEXO_MARIADB_ENGINE_H
#define VEXO_MARIADB_ENGINE_H

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "Connection.h"
#include "Engines.h"
#include "Locks.h"
#include "Log.h"
#include "Settings.h"

namespace xr::mariadb {

struct CounterReading;

struct Peaks {
    Peak users, files, handles, transactions, workerThreads, locks, dataInUse, sessions, remoteSessions, poolThreads;
};

// Names and values of the server's variables or status.
using Variables = std::map<std::string, std::string, std::less<>>;

class Engine : public ConnectedEngine<Connection> {
public:
    Engine(std::string server, std::string user, std::string password);
    ~Engine() override;

    Identity identity() override;
    std::unique_ptr<FileSnapshot> readFiles() override;
    std::unique_ptr<SessionSnapshot> readSessions() override;
    std::vector<XRSQLCONNINFO> readConnections() override;
    XRKESDUSAGE readUsage() override;
    XRKESDCOMMSTAT readCommunication() override;

    // The rows of a statement that this server may not answer: a table is missing, may not be read, or is empty
    // because performance_schema is off. Nothing then, and the log tells once what that costs.
    std::optional<Result> queryOptional(const char* statement, const char* loss);

    // The same for a statement whose rows are counted rather than missed: an empty result instead of nothing.
    Result queryOrEmpty(const char* statement, const char* loss);

    Variables readVariables(const char* statement);

    // Reads the server's variables, some of which can change while it runs, once for all sections of a record.
    void refreshVariables();

    // A server variable as text ("" if unknown) and as number.
    std::string variable(std::string_view name) const;
    std::uint64_t number(std::string_view name) const;
    bool isOn(std::string_view name) const;

    bool hasPerformanceSchema() const { return m_performanceSchema; }
    bool hasLockInstrument() const { return m_lockInstrument; }
    bool readsCounters(std::size_t sessions);

    // Whether the list of tablespaces may be asked for: a server whose InnoDB is read-only would crash.
    bool readsTablespaces();

    // Milliseconds that a connection is known to exist, at least. Remembers the processes for later calls.
    void rememberAges(const std::vector<Process>& processes);
    std::uint64_t knownAgeMs(std::uint64_t process) const;

    Log& log() { return m_log; }
    Peaks& peaks() { return m_peaks; }

    std::unique_ptr<CounterReading> counterReading;

private:
    using Clock = std::chrono::steady_clock;

    std::unique_ptr<Connection> makeConnection() override;
    void prepare() override;
    void checkProcessPrivilege();
    void readInstruments();

    std::string m_server;
    std::string m_user;
    std::string m_password;
    Settings m_settings;
    Log m_log;
    Variables m_variables;
    std::optional<Clock::time_point> m_variablesRead;
    bool m_performanceSchema = false;
    bool m_lockInstrument = false;
    std::set<std::string, std::less<>> m_refused;
    std::unordered_map<std::uint64_t, Clock::time_point> m_startedBefore;
    Peaks m_peaks;
};

}  // namespace xr::mariadb

#endif
