// SPDX-License-Identifier: MIT
// One handle of the interface: a server, and what has to be kept of it from one call to the next.
#ifndef VEXO_POSTGRES_ENGINE_H
#define VEXO_POSTGRES_ENGINE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Connection.h"
#include "Engines.h"
#include "Locks.h"
#include "Log.h"
#include "Names.h"
#include "OtherDatabases.h"

namespace xr::postgres {

// What the server says about itself when it is connected to.
struct Server {
    std::uint32_t database = 0;  // the number of the connection's own
    std::uint32_t blockSize = 0;
    std::uint32_t maxConnections = 0;
    std::uint32_t maxWorkers = 0;  // parallel, autovacuum and other processes beside the connections
    bool inRecovery = false;
    std::string version;
};

struct Peaks {
    Peak users, files, handles, transactions, clients, workerThreads, locks, dataInUse, remoteSessions;
};

// Everything behind the lists of files and sessions, in one reading.
struct Reading {
    Activity activity;
    LockPicture picture;               // points into the activity
    std::vector<std::string> names;    // by object
    std::vector<std::uint64_t> sizes;  // bytes, by object
};

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

private:
    std::unique_ptr<Connection> makeConnection() override;
    void prepare() override;
    void readServer();
    [[noreturn]] void throwNoPrivilege();
    void readDatabases();

    std::unique_ptr<Reading> read();
    std::vector<LockRow> readLocks();
    std::vector<PreparedTransaction> readPrepared();
    std::vector<Process> readProcesses();
    bool knowsDatabases(const Activity& activity) const;
    void readRelations(Activity& activity);
    void readOwnRelations(Relations& relations, const std::set<std::uint32_t>& own,
                          const std::set<std::uint32_t>& shared);
    void name(Reading& reading);

    Settings m_settings;
    Log m_log;
    Account m_account;
    Server m_server;
    Databases m_databases;
    OtherDatabases m_otherDatabases;
    Peaks m_peaks;
};

}  // namespace xr::postgres

#endif
