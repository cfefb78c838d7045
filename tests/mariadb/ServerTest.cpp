// SPDX-License-Identifier: MIT
// The library and the monitor on a live server, compared with what the server's own client reads there.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

#include "ThrowAwayServer.h"
#include "xradmin.h"

namespace {

constexpr const char* kPassword = "Never-To-Be-Seen";

// The server answers what transactions do from a cache, which is renewed when nobody has read it for 100 ms.
constexpr std::chrono::milliseconds kCacheAge{300};

// Waits as the server's own views tell them, those for rows as "blocker<-waiter table".
constexpr const char* kWaits =
    "SELECT COALESCE(GROUP_CONCAT(DISTINCT line ORDER BY line SEPARATOR '|'), '') FROM ("
    "SELECT CONCAT(IF(w.blocking_trx_id = 0, 0, b.trx_mysql_thread_id), '<-', r.trx_mysql_thread_id, ' ', "
    "l.lock_table) AS line FROM "
    "information_schema.innodb_lock_waits w JOIN information_schema.innodb_trx r ON r.trx_id = w.requesting_trx_id "
    "JOIN information_schema.innodb_trx b ON b.trx_id = w.blocking_trx_id "
    "JOIN information_schema.innodb_locks l ON l.lock_id = w.requested_lock_id UNION ALL "
    "SELECT CONCAT(t.processlist_id, ' ', m.object_type, ' ', COALESCE(m.object_name, '')) FROM "
    "performance_schema.metadata_locks m JOIN performance_schema.threads t ON t.thread_id = m.owner_thread_id "
    "WHERE m.lock_status = 'PENDING') waits";

// Everything that one pass of the monitor reads, with handle detail.
struct Record {
    std::map<std::string, XRFILEINFO> files;
    std::map<std::string, std::vector<XRFILEHANDLEINFO>> fileHandles;
    std::map<std::uint32_t, XRKESDCLIENTINFO> sessions;
    std::map<std::uint32_t, std::vector<XRKESDCLIENTHANDLEINFO>> sessionHandles;
    std::vector<XRSQLCONNINFO> connections;
};

Record readRecord(std::int32_t h) {
    Record record;
    std::uint32_t count = 0;
    EXPECT_EQ(XrGetOpenFilesData(h, &count), 0);
    for (std::uint32_t index = 0; index < count; ++index) {
        std::uint32_t size = XR_NAME_SIZE;
        char name[XR_NAME_SIZE];
        EXPECT_EQ(XrGetOpenFileName(h, index, &size, name), 0);
        EXPECT_EQ(XrGetFileInfo2(h, name, &record.files[name]), 0);
        std::uint32_t handles = 0;
        EXPECT_EQ(XrGetFileHandlesData(h, name, &handles), 0);
        record.fileHandles[name].resize(handles);
        for (std::uint32_t at = 0; at < handles; ++at) {
            EXPECT_EQ(XrGetFileHandleInfo(h, name, at, &record.fileHandles[name][at]), 0);
        }
    }
    EXPECT_EQ(XrFreeOpenFilesData(h), 0);
    EXPECT_EQ(XrGetKesdClientsData(h, &count), 0);
    for (std::uint32_t index = 0; index < count; ++index) {
        XRCLIENTID client;
        EXPECT_EQ(XrGetKesdClientId(h, index, &client), 0);
        const std::uint32_t id = client.idWord * 65536U + client.taskNumber;
        EXPECT_EQ(client.text, std::to_string(id));
        EXPECT_EQ(XrGetKesdClientInfo(h, &client, &record.sessions[id]), 0);
        std::uint32_t handles = 0;
        EXPECT_EQ(XrGetKesdClientHandlesData(h, &client, &handles), 0);
        record.sessionHandles[id].resize(handles);
        for (std::uint32_t at = 0; at < handles; ++at) {
            EXPECT_EQ(XrGetKesdClientHandleInfo(h, &client, at, &record.sessionHandles[id][at]), 0);
        }
    }
    EXPECT_EQ(XrFreeKesdClientsData(h), 0);
    EXPECT_EQ(XrGetSQLConnectionsData(h, &count), 0);
    record.connections.resize(count);
    for (std::uint32_t index = 0; index < count; ++index) {
        EXPECT_EQ(XrGetSQLConnectionInfo2(h, index, &record.connections[index]), 0);
    }
    EXPECT_EQ(XrFreeSQLConnectionsData(h), 0);
    return record;
}

template <typename Handle>
std::vector<int> codes(const Handle& handle) {
    return {handle.openMode, handle.recordLockType, handle.waitState, handle.transactionState};
}

std::string hex(const std::string& bytes) {
    std::ostringstream text;
    for (const char byte : bytes)
        text << "0123456789ABCDEF"[(byte >> 4) & 15] << "0123456789ABCDEF"[byte & 15];
    return text.str();
}

// The locks of row 5 end with a different wait, mode or state in every session.
struct Scene {
    explicit Scene(const ThrowAwayServer& server)
        : holder(server, "A\"\n\x1b[31m"),
          waiter(server),
          locker(server),
          queued(server),
          many(server),
          reader(server) {
        holder.run("BEGIN");
        holder.run("UPDATE items SET v = -1 WHERE id = 5");
        waiter.begin("UPDATE items SET v = -2 WHERE id = 5");
        locker.run("LOCK TABLES old WRITE");
        queued.begin("INSERT INTO old VALUES (9)");
        many.run("BEGIN");
        many.run("SELECT COUNT(*) FROM (SELECT DISTINCT v FROM `strange-ñ``name` WHERE id <= 300 FOR UPDATE) t");
        reader.run("START TRANSACTION READ ONLY");
        reader.run("SELECT * FROM items, system_space LIMIT 1");
        std::this_thread::sleep_for(kCacheAge);
    }
    Session holder, waiter, locker, queued, many, reader;
};

}  // namespace

class MariadbServer : public testing::Test {
protected:
    static void SetUpTestSuite() try {
        s_server = std::make_unique<ThrowAwayServer>();
        s_server->ask(
            "CREATE DATABASE shop; USE shop; CREATE TABLE items (id INT PRIMARY KEY, v INT) ENGINE=InnoDB;"
            "INSERT INTO items SELECT seq, seq FROM seq_1_to_1000;"
            "CREATE TABLE `strange-ñ``name` LIKE items; INSERT INTO `strange-ñ``name` SELECT * FROM items;"
            "CREATE TABLE orders LIKE items; INSERT INTO orders SELECT seq * 10, 1 FROM seq_1_to_100;"
            "CREATE TABLE child (id INT PRIMARY KEY, p INT, FOREIGN KEY (p) REFERENCES items (id)) ENGINE=InnoDB;"
            "CREATE TABLE numbered (id INT AUTO_INCREMENT PRIMARY KEY, v INT) ENGINE=InnoDB;"
            "CREATE TABLE parts (id INT PRIMARY KEY, v INT) ENGINE=InnoDB PARTITION BY HASH (id) PARTITIONS 3;"
            "INSERT INTO parts SELECT seq, 1 FROM seq_1_to_9;"
            "CREATE DATABASE other; CREATE TABLE other.items LIKE items; INSERT INTO other.items VALUES (1, 1);"
            "CREATE TABLE old (id INT) ENGINE=MyISAM; SET GLOBAL innodb_file_per_table = 0;"
            "CREATE TABLE system_space (id INT) ENGINE=InnoDB; INSERT INTO system_space VALUES (1);"
            "SET GLOBAL innodb_file_per_table = 1");
        for (const char* user : {"vexo", "narrow", "blind", "locked"}) {
            s_server->ask(std::string("CREATE USER ") + user + "@'%' IDENTIFIED BY '" + kPassword + "'");
        }
        s_server->ask(
            "GRANT PROCESS ON *.* TO vexo@'%', narrow@'%', locked@'%'; ALTER USER locked@'%' ACCOUNT LOCK;"
            "GRANT SELECT ON performance_schema.* TO vexo@'%', blind@'%'");
    } catch (const MissingServer& missing) {
        s_missing = missing.what();
    }
    static void TearDownTestSuite() { s_server.reset(); }

    void SetUp() override {
        if (s_server == nullptr) GTEST_SKIP() << "No server to test with: " << s_missing;
        m_log = s_server->directory + "/log";
        setenv("XRMARIADB_LOG", m_log.c_str(), 1);
        EXPECT_EQ(XrStart(nullptr), 0);
    }
    void TearDown() override {
        for (const char* name : {"CONNECT_TIMEOUT", "COUNTER_LIMIT", "OPTION_FILE", "READ_TIMEOUT", "SSL_CA"})
            unsetenv((std::string("XRMARIADB_") + name).c_str());
        if (s_server == nullptr) return;
        XrDisconnect(m_handle);
        EXPECT_EQ(contents(m_log).find(kPassword), std::string::npos);
        std::remove(m_log.c_str());
    }

    int connect(const std::string& server, const std::string& user, const std::string& password = kPassword) {
        return XrConnectServer(server.c_str(), user.c_str(), password.c_str(), &m_handle);
    }

    // Starts the monitor for one record. The last one of equal settings wins.
    static std::unique_ptr<Program> monitor(const std::string& server, const std::string& settings = "",
                                            const std::string& option = "") {
        const std::string path = s_server->directory + "/monitor.cfg";
        std::ofstream(path) << "SERVER=" << server << "\nUSER=vexo\nPASSWORD=" << kPassword
                            << "\nREFRESH=0\nLIMIT=0\nOUTPUT=console\nNAME=\nFILES=\nSESSIONS=\nCONN=\nRESO=\n"
                            << "COMM=\nHANDLES=\n"
                            << settings << '\n';
        return std::make_unique<Program>("env LC_ALL=C.UTF-8 VEXO_ENGINE_LIBRARY=" ENGINE_LIBRARY " " MONITOR " -f " +
                                         path + " -runonce " + option);
    }

    static std::string addressOf(const Session& session) {
        return s_server->ask("SELECT host FROM information_schema.processlist WHERE id=" +
                             std::to_string(session.id()));
    }
    static std::string nameOf(const Session& session) {
        return "root@" + addressOf(session) + " #" + std::to_string(session.id());
    }
    // The handles of a session, found to be the same in the files.
    static std::string describe(const Record& record, char letter, std::uint32_t id) {
        std::string text;
        for (const XRKESDCLIENTHANDLEINFO& handle : record.sessionHandles.at(id)) {
            std::string file = handle.fileName;
            const auto handles = record.fileHandles.find(file);
            if (handles != record.fileHandles.end()) {
                file = std::regex_replace(file.substr(path("").size()), std::regex("^shop/|[.]ibd$"), "");
                const bool same =
                    std::count_if(handles->second.begin(), handles->second.end(), [&](const XRFILEHANDLEINFO& other) {
                        return other.clientIndex == id && codes(other) == codes(handle) &&
                               other.clientName == std::string(record.sessions.at(id).sessionName);
                    }) == 1;
                EXPECT_TRUE(same) << file << " of " << letter;
            }
            text += std::string("|") + letter + " " + file + " " + std::to_string(handle.openMode) +
                    static_cast<char>(handle.recordLockType) + std::to_string(handle.waitState) + " " +
                    std::to_string(handle.transactionState);
        }
        return text;
    }

    using Sessions = std::map<char, std::unique_ptr<Session>>;

    static Sessions play(const std::string& statements) {
        Sessions sessions;
        for (std::size_t at = 0, next = 0; next != std::string::npos; at = next + 2) {
            next = statements.find("; ", at);
            const std::string statement = statements.substr(at, next - at);
            std::unique_ptr<Session>& session = sessions[statement[0]];
            if (session == nullptr) session = std::make_unique<Session>(*s_server);
            if (statement[1] == ' ') session->run(statement.substr(2));
            if (statement[1] == '!') session->begin(statement.substr(2));
            if (statement[1] == '-') sessions.erase(statement[0]);
            if (statement[1] != ' ') usleep(100000);
        }
        return sessions;
    }
    // What the server itself says of waits, and the handles that a record shows.
    std::pair<std::string, std::string> lookAt(const Sessions& sessions) const {
        std::this_thread::sleep_for(kCacheAge);
        const Record record = readRecord(m_handle);
        std::string views = s_server->ask(kWaits);
        std::string handles;
        for (const auto& [letter, session] : sessions) {
            const std::string id = std::to_string(session->id());
            views = std::regex_replace(views, std::regex("\\b" + id + "(?=<-| )"), std::string(1, letter));
            handles += describe(record, letter, session->id());
        }
        const auto& orders = record.fileHandles.at(path("shop/orders.ibd"));
        if (!orders.empty() && orders.back().clientIndex == 0) {
            EXPECT_EQ(std::string(orders.back().clientName).substr(0, 12), "transaction ");
            handles += std::string("|transaction orders ") + static_cast<char>(orders.back().recordLockType);
        }
        return {views, handles.substr(1)};
    }
    static void end(const Sessions& sessions) {
        // First those that wait, or what they wait for would be done.
        for (auto session = sessions.rbegin(); session != sessions.rend(); ++session)
            s_server->ask("KILL " + std::to_string(session->second->id()));
        const std::string others = "SELECT COUNT(*) FROM information_schema.processlist WHERE db = 'shop'";
        for (int wait = 0; wait < 100 && s_server->ask(others) != "0"; ++wait)
            usleep(20000);
        if (!s_server->ask("XA RECOVER").empty()) s_server->ask("XA ROLLBACK 'x'; XA ROLLBACK 'y'");
    }
    static std::string path(const std::string& file) { return s_server->directory + "/data/" + file; }

    static inline std::unique_ptr<ThrowAwayServer> s_server;
    static inline std::string s_missing;
    std::int32_t m_handle = 0;
    std::string m_log;
};

TEST_F(MariadbServer, ShowsEveryFieldOfAKnownScene) {
    ASSERT_EQ(connect(s_server->tcp, "vexo"), 0);
    Scene scene(*s_server);
    const Record record = readRecord(m_handle);
    const struct {
        const Session& session;
        const char* handles;
        int state;
        std::uint32_t least, most;  // row locks
    } rows[] = {
        {scene.holder, "|- child 254N0 1019|- items 0S0 1019", 1019, 1, 1},
        {scene.waiter, "|- child 254N0 1019|- items 0N1 1019", 1019, 0, 0},
        {scene.locker, "|- old.MYD 244N0 19", 19, 0, 0},
        {scene.queued, "|- old.MYD 248N2 0", 0, 0, 0},
        {scene.many, "|- strange@002d@0x@0060name 0M0 1019", 1019, 300, 305},
        {scene.reader, "|- items 254N0 1019|- ibdata1 254N0 1019", 1019, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.handles);
        const std::uint32_t id = row.session.id();
        const XRKESDCLIENTINFO& session = record.sessions.at(id);
        EXPECT_EQ(describe(record, '-', id), row.handles);
        EXPECT_EQ(session.sessionName, nameOf(row.session));
        EXPECT_EQ(session.networkAddress, addressOf(row.session));
        EXPECT_EQ(session.site, 1);
        EXPECT_EQ(session.pid, static_cast<std::uint32_t>(getpid()));
        EXPECT_EQ(session.connectionNumber, id);
        EXPECT_EQ(session.transactionState, row.state);
        EXPECT_GE(session.locksUsed, row.least);
        EXPECT_LE(session.locksUsed, row.most);
    }
    const XRKESDCLIENTINFO& holder = record.sessions.at(scene.holder.id());
    EXPECT_EQ(holder.recordsUpdated, 1U);
    EXPECT_EQ(holder.recordsRead, 1U);
    const XRKESDCLIENTINFO& many = record.sessions.at(scene.many.id());
    EXPECT_NEAR(many.recordsRead, 301, 2) << "without those of the temporary table";
    EXPECT_EQ(holder.recordsInserted + holder.recordsDeleted + holder.cacheAccesses, 0U);

    const XRFILEINFO& items = record.files.at(path("shop/items.ibd"));
    EXPECT_EQ(std::string({char(items.readLocks), char(items.transactionLock), char(items.readOnlyFlag)}), "YYN");
    EXPECT_EQ(items.pageSize, 16384U);
    EXPECT_EQ(items.physicalFileSizeKB,
              s_server->askNumber("SELECT file_size DIV 1024 FROM "
                                  "information_schema.innodb_sys_tablespaces WHERE name='shop/items'"));
    EXPECT_EQ(record.files.at(path("shop/old.MYI")).pageSize, 1024U);
    EXPECT_EQ(record.files.at(path("shop/old.MYD")).physicalFileSizeKB, 0U) << "over TCP nobody looks at the disk";

    const std::string others =
        " FROM information_schema.processlist WHERE host LIKE '127.%' AND user <> 'vexo' ORDER BY id";
    std::string listed;
    for (const auto& [id, session] : record.sessions)
        listed += (listed.empty() ? "" : "\n") + std::to_string(id);
    EXPECT_EQ(listed, s_server->ask("SELECT id" + others));
    listed.clear();
    for (const XRSQLCONNINFO& info : record.connections) {
        listed += (listed.empty() ? "" : "\n") + std::string(info.userName) + '@' + info.networkAddress + ' ' +
                  info.clientHostName + ' ' + info.dataSourceName + ' ' + std::to_string(info.connectionStatus);
        EXPECT_GE(info.activeIdlePeriodMs, 250U);
        EXPECT_LE(info.activeIdlePeriodMs, 60000U);
        EXPECT_GE(info.totalConnectionTime, info.activeIdlePeriodMs);
    }
    EXPECT_EQ(
        listed,
        s_server->ask("SELECT CONCAT(user, ' #', id, '@', host, ' 127.0.0.1 ', db, ' ', command <> 'Sleep')" + others));
    EXPECT_STREQ(record.connections.front().clientApplication, "A???[31m");
    listed.clear();
    for (const auto& [name, info] : record.files)
        listed += (listed.empty() ? "" : "\n") + name;
    EXPECT_EQ(listed, s_server->ask("SELECT file_name FROM performance_schema.file_instances WHERE open_count > 0 "
                                    "ORDER BY BINARY file_name"));
    EXPECT_EQ(contents(m_log), "") << "nothing is missing here";
}

TEST_F(MariadbServer, CountsWhatTheServerCounts) {
    ASSERT_EQ(connect(s_server->socket, "vexo"), 0);
    const auto status = [](const std::string& name) {
        return s_server->askNumber("SELECT variable_value FROM information_schema.global_status WHERE variable_name='" +
                                   name + "'");
    };
    Session session(*s_server);
    session.run("BEGIN");
    session.run("UPDATE items SET v = -1 WHERE id BETWEEN 7 AND 8");
    // The server's own threads are no clients, whomever they work for.
    session.run("INSERT DELAYED INTO old VALUES (1)");
    s_server->ask("SET GLOBAL event_scheduler = ON; CREATE EVENT shop.e ON SCHEDULE AT NOW() DO DO SLEEP(3)");
    const std::string threads =
        "SELECT COUNT(*) FROM information_schema.processlist WHERE command IN ('Connect', 'Daemon', 'Delayed insert')";
    for (int wait = 0; wait < 100 && s_server->ask(threads) != "3"; ++wait)
        usleep(20000);
    const std::uint64_t questions = status("Questions");
    std::this_thread::sleep_for(kCacheAge);
    XRKESDUSAGE usage{};
    XRKESDCOMMSTAT stat{};
    XRKESDVERSION version{};
    ASSERT_EQ(XrGetKesdUsageEx2(m_handle, &usage), 0);
    ASSERT_EQ(XrGetKesdCommStatEx(m_handle, &stat), 0);
    ASSERT_EQ(XrGetKesdVersion(m_handle, &version), 0);
    EXPECT_EQ(usage.clientsCurrent, 2U);
    EXPECT_EQ(usage.clientsPeak, status("Max_used_connections"));
    EXPECT_EQ(usage.clientsMax, 40);
    EXPECT_EQ(usage.userCountCurrent, 2U);
    EXPECT_EQ(usage.filesMax, static_cast<int>(s_server->askNumber("SELECT @@open_files_limit")));
    EXPECT_NEAR(usage.filesCurrent, static_cast<double>(status("Open_files") + status("Innodb_num_open_files")), 6);
    EXPECT_EQ(usage.dataInUseMBMax, 16);
    // The server may read a page in between, and so reach the next megabyte.
    EXPECT_NEAR(usage.dataInUseMBCurrent, static_cast<double>(status("Innodb_buffer_pool_bytes_data") >> 20U), 1);
    EXPECT_EQ(usage.transactionsCurrent, 1U);
    EXPECT_GE(usage.locksCurrent, 2U);
    EXPECT_LE(usage.locksCurrent, 3U) << "the engine may count the gap";
    EXPECT_NEAR(usage.engineUptimeSecs, static_cast<double>(status("Uptime")), 2);
    EXPECT_GT(stat.totalRequestsProcessed, questions);
    EXPECT_LT(stat.totalRequestsProcessed, status("Questions"));
    EXPECT_EQ(stat.remoteSessionsCurrent, 1U) << "only the other one comes over TCP";
    EXPECT_EQ(stat.commThreadsMax, 40U);
    EXPECT_EQ(stat.protocolCount, 1U);
    EXPECT_EQ(stat.protocols[0].protocolType, 4U);
    EXPECT_EQ(
        stat.protocols[0].requestsProcessed,
        s_server->askNumber("SELECT SUM(variable_value) FROM "
                            "performance_schema.status_by_host WHERE variable_name='Questions' AND host='127.0.0.1'"));
    const std::string numbers = std::to_string(version.majorVersion) + "." + std::to_string(version.minorVersion) +
                                "." + std::to_string(version.thirdVersion);
    EXPECT_EQ(s_server->ask("SELECT VERSION() LIKE '" + numbers + "-%'"), "1") << numbers;
    const Record record = readRecord(m_handle);
    EXPECT_EQ(record.sessions.size(), 1U);
    // Counters are read only if somebody has run a statement since.
    const auto statements = [&](unsigned updated) {
        const std::uint64_t before = status("Com_select");
        EXPECT_EQ(readRecord(m_handle).sessions.at(session.id()).recordsUpdated, updated);
        return status("Com_select") - before;
    };
    const std::uint64_t spared = statements(2);
    session.run("UPDATE items SET v = -2 WHERE id = 7");
    EXPECT_EQ(statements(3), spared + 2);
    EXPECT_EQ(s_server->ask(threads), "3") << "they were there all the time";
    s_server->ask("SET GLOBAL event_scheduler = OFF");
    EXPECT_EQ(record.files.at(path("mysql/db.MAD")).pageSize, 8192U);
    EXPECT_EQ(record.files.at(path("mysql/db.MAD")).physicalFileSizeKB,
              (contents(path("mysql/db.MAD")).size() + 1023) / 1024);
}

TEST_F(MariadbServer, TheMonitorWritesTheSceneAsTextAndAsJson) {
    Scene scene(*s_server);
    const std::string address = addressOf(scene.many);
    const auto text = monitor(s_server->socket);
    ASSERT_EQ(text->finish(), 0) << text->output;
    const auto json = monitor(s_server->tcp, "", "-JSON");
    ASSERT_EQ(json->finish(), 0) << json->output;

    const std::string session = "\tSession Name:        " + nameOf(scene.many) +
                                "\n\tClient ID:           \n\tConnection Number:   " + std::to_string(scene.many.id()) +
                                "\n\tTask Number:         " + std::to_string(scene.many.id()) +
                                "\n\tPID:                 " + std::to_string(getpid()) +
                                "\n\tSite:                Local\n\tNetwork Address:     " + address +
                                "\n\tLocks used:          30";
    EXPECT_NE(text->output.find(session), std::string::npos) << session << "\n---\n" << text->output;
    const std::string handle =
        "\t\t\tClient Index:      " + std::to_string(scene.waiter.id()) +
        "\n\t\t\tClient Name:       " + nameOf(scene.waiter) +
        "\n\t\t\tOpen Mode:         Normal\n\t\t\tRecord Lock Type:  None\n\t\t\tWait State:        Record\n"
        "\t\t\tTransaction State: Concurrent Lock\n";
    EXPECT_NE(text->output.find(handle), std::string::npos) << handle << "\n---\n" << text->output;

    const std::string document = "SET @d = CONVERT(X'" + hex(json->output) + "' USING utf8mb4); SELECT ";
    EXPECT_EQ(s_server->ask(document + "JSON_VALID(@d)"), "1") << json->output;
    const std::string first = "$.sql_connection_manager_active_sessions.session_info[0]";
    EXPECT_EQ(s_server->ask(document + "JSON_VALUE(@d, '" + first + ".client_application'), JSON_VALUE(@d, '" + first +
                            ".data_source_name'), JSON_EXTRACT(@d, '$.kestrin_active_sessions.active_session_info[*]."
                            "session_handles.session_handles_info[*].transaction_state')"),
              "A???[31m\tshop\t[\"Concurrent Lock\", \"Concurrent Lock\", \"Concurrent Lock\", \"Concurrent Lock\", "
              "\"Exclusive Lock\", \"None\", \"Concurrent Lock\", "
              "\"Concurrent Lock\", \"Concurrent Lock\"]");
    // The server needs a moment to see that a client has left.
    std::this_thread::sleep_for(kCacheAge);
    EXPECT_EQ(s_server->ask("SELECT COUNT(*) FROM information_schema.processlist WHERE user='vexo'"), "0");
    EXPECT_EQ(s_server->ask("SHOW GLOBAL STATUS LIKE 'Aborted_clients'"), "Aborted_clients\t0");
}

// What stands in whose way. Sessions A, B... run their statements one after the other. "!" begins one that will block,
// "-" closes the session.
TEST_F(MariadbServer, ShowsWhoBlocksWhomOnWhichTable) {
    const struct {
        const char* what;
        const char* statements;
        const char* views;    // what the server itself says of waits
        const char* handles;  // of each session: file, open mode, record locks, wait state, transaction state
    } rows[] = {
        {"a row, and locks on other tables",
         "A BEGIN; A UPDATE other.items SET v = 0 WHERE id = 1; A UPDATE orders SET v = 0 WHERE id = 50; "
         "A SELECT * FROM numbered; B!UPDATE orders SET v = 2 WHERE id = 50",
         "A<-B `shop`.`orders`", "A other/items 0?0 1019|A numbered 254N0 1019|A orders 0S0 1019|B orders 0N1 1019"},
        {"a chain",
         "A BEGIN; A UPDATE orders SET v = 0 WHERE id = 50; B BEGIN; B UPDATE other.items SET v = 0 WHERE id = 1; "
         "B!UPDATE orders SET v = 2 WHERE id = 50; C!UPDATE other.items SET v = 3 WHERE id = 1",
         "A<-B `shop`.`orders`|B<-C `other`.`items`",
         "A orders 0S0 1019|B other/items 0S0 1019|B orders 0N1 1019|C other/items 0N1 1019"},
        {"two readers with locks",
         "A BEGIN; A SELECT * FROM orders WHERE id = 10 LOCK IN SHARE MODE; B BEGIN; "
         "B SELECT * FROM orders WHERE id = 10 LOCK IN SHARE MODE; C!DELETE FROM orders WHERE id = 10",
         "0<-C `shop`.`orders`", "A orders 254S0 1019|B orders 254S0 1019|C orders 0N1 1019"},
        {"one reader with locks, here and elsewhere",
         "A BEGIN; A SELECT * FROM orders, items WHERE orders.id = 10 AND items.id = 1 LOCK IN SHARE MODE; B BEGIN; "
         "B SELECT * FROM orders; C!DELETE FROM orders WHERE id = 10",
         "0<-C `shop`.`orders`", "A items 254?0 1019|A orders 254S0 1019|B orders 254N0 1019|C orders 0N1 1019"},
        {"a gap",
         "A BEGIN; A SELECT * FROM orders WHERE id BETWEEN 15 AND 19 FOR UPDATE; B!INSERT INTO orders VALUES (17, 1)",
         "A<-B `shop`.`orders`", "A orders 0S0 1019|B orders 0N1 1019"},
        {"an inserted row",
         "A BEGIN; A INSERT INTO orders VALUES (5, 1); A SELECT * FROM items LIMIT 1; B!INSERT INTO orders VALUES (5, "
         "2)",
         "A<-B `shop`.`orders`", "A items 254N0 1019|A orders 0S0 1019|B orders 0N1 1019"},
        {"the other end of a foreign key",
         "A BEGIN; A UPDATE items SET v = 0 WHERE id = 3; B!INSERT INTO child VALUES (1, 3)", "A<-B `shop`.`items`",
         "A child 254N0 1019|A items 0S0 1019|B child 0N0 1019|B items 254N1 1019"},
        {"perhaps there, if nobody waits", "A BEGIN; A INSERT INTO child VALUES (1, 3)", "", "A child 0?0 1019"},
        {"rows of a temporary table lock nothing",
         "A CREATE TEMPORARY TABLE t (id INT) ENGINE=InnoDB; A BEGIN; A INSERT INTO t VALUES (1), (2); "
         "A SELECT * FROM items LIMIT 1",
         "", "A items 254N0 1019"},
        {"a change of the definition",
         "A BEGIN; A SELECT * FROM items LIMIT 1; B!ALTER TABLE items ADD w INT; C!SELECT * FROM items LIMIT 1",
         "B TABLE items|C TABLE items", "A items 254N0 1019|B items 0N2 0|C items 254N2 0"},
        {"TRUNCATE", "A BEGIN; A SELECT * FROM orders LIMIT 1; B!TRUNCATE orders", "B TABLE orders",
         "A orders 254N0 1019|B orders 0N2 0"},
        {"LOCK TABLES",
         "A LOCK TABLES items READ, orders WRITE; B!UPDATE items SET v = 1 WHERE id = 1; C!SELECT * FROM orders LIMIT "
         "1",
         "B TABLE items|C TABLE orders", "A items 254N0 0|A orders 252N0 19|B items 0N2 0|C orders 254N2 0"},
        {"the global read lock", "A FLUSH TABLES WITH READ LOCK; B!UPDATE orders SET v = 2 WHERE id = 50", "B BACKUP ",
         "A backup lock 254N0 0|B backup lock 0N2 0|B orders 0N2 0"},
        {"BACKUP STAGE",
         "B BEGIN; B UPDATE orders SET v = 2 WHERE id = 50; A BACKUP STAGE START; A BACKUP STAGE BLOCK_COMMIT; "
         "B!COMMIT; "
         "C!CREATE TABLE later (id INT)",
         "B BACKUP |C BACKUP ", "A backup lock 254N0 0|B backup lock 0N2 1019|B orders 0S2 1019|C backup lock 0N2 0"},
        {"BACKUP LOCK", "A BACKUP LOCK items; B!ALTER TABLE items ADD w INT", "B TABLE items",
         "A items 254N0 0|B items 0N2 0"},
        {"a user-level lock", "A DO GET_LOCK('Job 1', 0); B!DO GET_LOCK('Job 1', 9)", "B USER LEVEL LOCK Job 1",
         "A user level lock Job 1 0N0 0|B user level lock Job 1 0N2 0"},
        {"numbers to come",
         "A!INSERT INTO numbered (v) SELECT IF(id = 10, 0, SLEEP(3)) FROM orders WHERE id < 30; "
         "B!INSERT INTO numbered (v) VALUES (1)",
         "A<-B `shop`.`numbered`", "A numbered 0?0 1019|A orders 254?0 1019|B numbered 0N2 1019"},
        {"a partition", "A BEGIN; A UPDATE parts SET v = 0 WHERE id = 4; B!UPDATE parts SET v = 1 WHERE id = 4",
         "A<-B `shop`.`parts` /* Partition `p1` */", "A parts#P#p1 0S0 1019|B parts#P#p1 0N1 1019"},
        {"some partition, if nobody waits", "A BEGIN; A UPDATE parts SET v = 0 WHERE id = 4", "",
         "A parts#P#p0 0?0 1019"},
        {"a prepared transaction, with and without its session",
         "A XA START 'x'; A UPDATE orders SET v = 0 WHERE id = 50; A XA END 'x'; A XA PREPARE 'x'; A-; "
         "B!UPDATE orders SET v = 2 WHERE id = 50; C XA START 'y'; C UPDATE items SET v = 0 WHERE id = 7; C XA END "
         "'y'; "
         "C XA PREPARE 'y'; D!DELETE FROM items WHERE id = 7",
         "0<-B `shop`.`orders`|C<-D `shop`.`items`",
         "B orders 0N1 1019|C child 254N0 1019|C items 0S0 1019|D child 254N0 1019|D items 0N1 1019|transaction orders "
         "S"},
        {"the one that a deadlock spares",
         "A BEGIN; A INSERT INTO numbered (v) SELECT v FROM items; A UPDATE orders SET v = 0 WHERE id = 50; B BEGIN; "
         "B UPDATE other.items SET v = 0; A!UPDATE other.items SET v = 1; B!UPDATE orders SET v = 2",
         "", "A other/items 0?0 1019|A items 254?0 1019|A numbered 0?0 1019|A orders 0?0 1019"},
    };
    ASSERT_EQ(connect(s_server->tcp, "vexo"), 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Sessions sessions = play(row.statements);
        std::pair<std::string, std::string> seen;
        // A busy machine may take its time to get there.
        for (int look = 0; look < 5 && seen != std::pair<std::string, std::string>(row.views, row.handles); ++look)
            seen = lookAt(sessions);
        EXPECT_EQ(seen.first, row.views);
        EXPECT_EQ(seen.second, row.handles);
        end(sessions);
    }
}

TEST_F(MariadbServer, PassesTheConformanceSuite) {
    const std::string self = getpwuid(geteuid())->pw_name;
    s_server->ask("CREATE USER IF NOT EXISTS '" + self + "'@localhost; GRANT PROCESS ON *.* TO '" + self +
                  "'@localhost");
    const Scene scene(*s_server);
    const std::string named = "VEXO_CONFORMANCE_USER=vexo VEXO_CONFORMANCE_SERVER=" + s_server->tcp +
                              " VEXO_CONFORMANCE_PASSWORD=" + kPassword;
    for (const std::string& address : {named, "MYSQL_UNIX_PORT=" + s_server->socket}) {
        Program suite("env VEXO_CONFORMANCE_LIBRARY=" ENGINE_LIBRARY " " + address + " " CONFORMANCE_SUITE);
        EXPECT_EQ(suite.finish(), 0) << address << '\n' << suite.output;
    }
}

TEST_F(MariadbServer, RefusesWithTheServersOwnNumber) {
    const struct {
        std::string server, user, password;
        int status;
    } rows[] = {
        {s_server->tcp, "vexo", "wrong", 1045},       {s_server->tcp, "blind", kPassword, 1227},
        {s_server->tcp, "locked", kPassword, 4151},   {"127.0.0.1:1", "vexo", kPassword, 2002},
        {"/no/such/socket", "vexo", kPassword, 2002}, {"127.0.0.1:port", "vexo", kPassword, 2005},
    };
    for (const auto& row : rows) {
        std::int32_t handle = 0;
        EXPECT_EQ(XrConnectServer(row.server.c_str(), row.user.c_str(), row.password.c_str(), &handle), row.status);
    }
    const auto refused = monitor(s_server->tcp, "PASSWORD=wrong");
    EXPECT_EQ(refused->finish(), 1);
    EXPECT_NE(refused->output.find("\n1045: "), std::string::npos) << refused->output;
    std::ofstream(s_server->directory + "/options") << "[vexo]\npassword=" << kPassword << "\n";
    setenv("XRMARIADB_OPTION_FILE", (s_server->directory + "/options").c_str(), 1);
    EXPECT_EQ(connect(s_server->tcp, "vexo", ""), 0) << "the password is in the option file";
    EXPECT_EQ(XrDisconnect(m_handle), 0);
    std::ofstream(s_server->directory + "/options", std::ios::app) << "ssl-verify-server-cert=0\n";
    EXPECT_EQ(connect(s_server->tcp, "vexo", ""), 2026) << "an option file that speaks of TLS wants all of it";
}

TEST_F(MariadbServer, DoesWithoutWhatIsMissingAndSaysSoOnce) {
    setenv("XRMARIADB_COUNTER_LIMIT", "0", 1);
    ASSERT_EQ(connect(s_server->tcp, "vexo"), 0);
    const Scene scene(*s_server);
    const auto holder = scene.holder.id();
    EXPECT_EQ(readRecord(m_handle).sessions.at(holder).recordsUpdated, 0U);
    readRecord(m_handle);
    const std::string log = contents(m_log);
    EXPECT_NE(log.find("More than 0 sessions"), std::string::npos) << log;
    EXPECT_EQ(log.find("More than 0 sessions"), log.rfind("More than 0 sessions"));
    EXPECT_EQ(XrDisconnect(m_handle), 0);

    ASSERT_EQ(connect(s_server->tcp, "narrow"), 0);
    const Record record = readRecord(m_handle);
    EXPECT_EQ(record.sessions.at(holder).locksUsed, 1U);
    EXPECT_EQ(record.sessions.at(holder).pid, 0U);
    EXPECT_EQ(describe(record, 'H', holder), "|H items 0S0 1019") << "named because another one waits";
    EXPECT_STREQ(record.sessionHandles.at(scene.many.id()).at(0).fileName,
                 "(handles unknown: performance_schema does not show them)");
    EXPECT_EQ(record.files.at(path("shop/items.ibd")).pageSize, 16384U);
    EXPECT_NE(contents(m_log).find("only handles"), std::string::npos);
}

TEST_F(MariadbServer, SessionsMayComeAndGoWhileRecordsAreTaken) {
    ASSERT_EQ(connect(s_server->socket, "vexo"), 0);
    std::atomic<bool> stop{false};
    std::atomic<int> visits{0};
    std::vector<std::thread> clients;
    clients.reserve(2);
    for (int number = 0; number < 2; ++number) {
        clients.emplace_back([&, number] {
            while (!stop) {
                Session session(*s_server);
                session.run("BEGIN");
                session.run("UPDATE items SET v = v + 1 WHERE id = " + std::to_string(100 + number));
                session.run("COMMIT");
                ++visits;
            }
        });
    }
    int bad = 0;
    std::uint64_t handles = 0;
    for (int round = 0; round < 700; ++round) {  // of three snapshots each
        const Record record = readRecord(m_handle);
        for (const auto& [id, session] : record.sessions) {
            const std::string name = session.sessionName;
            bad += session.connectionNumber != id || name.find('@') == std::string::npos || session.locksUsed > 2;
            bad += session.transactionState != 0 && session.transactionState != 1019;
        }
        for (const auto& [file, list] : record.fileHandles) {
            handles += list.size();
            for (const XRFILEHANDLEINFO& handle : list) {
                bad += handle.clientIndex == 0;
                bad += std::strchr("NSM?", handle.recordLockType) == nullptr;
            }
        }
    }
    stop = true;
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(bad, 0);
    EXPECT_GT(visits, 100);
    EXPECT_GT(handles, 100U);
}

// From here on servers are frozen and killed, each test its own.
TEST_F(MariadbServer, AFrozenServerIsGivenUpInTime) {
    setenv("XRMARIADB_CONNECT_TIMEOUT", "1", 1);
    setenv("XRMARIADB_READ_TIMEOUT", "1", 1);
    ASSERT_EQ(connect(s_server->tcp, "vexo"), 0);
    const auto start = std::chrono::steady_clock::now();
    s_server->sendSignal(SIGSTOP);
    std::uint32_t count = 0;
    EXPECT_EQ(XrGetOpenFilesData(m_handle, &count), 2013);
    const auto late = monitor(s_server->tcp);
    EXPECT_EQ(late->finish(), 1);
    EXPECT_NE(late->output.find("\n2013: "), std::string::npos) << late->output;
    s_server->sendSignal(SIGCONT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    XRKESDUSAGE usage{};
    EXPECT_EQ(XrGetKesdUsageEx2(m_handle, &usage), 2013) << "lost is lost";
    EXPECT_EQ(XrFreeOpenFilesData(m_handle), 0);
}

TEST_F(MariadbServer, AKilledServerEndsTheRecordWithAStatus) {
    ThrowAwayServer mortal;
    mortal.ask(std::string("CREATE USER vexo@'%' IDENTIFIED BY '") + kPassword +
               "'; GRANT PROCESS ON *.* TO vexo@'%'; "
               "GRANT SELECT ON performance_schema.* TO vexo@'%'");
    ASSERT_EQ(connect(mortal.tcp, "vexo"), 0);
    std::uint32_t count = 0;
    ASSERT_EQ(XrGetOpenFilesData(m_handle, &count), 0);

    // The monitor stops in the middle of its record: nobody reads what it writes.
    const auto stuck = monitor(mortal.tcp, "HANDLES=no");
    const std::string idle = "SELECT COUNT(*) FROM information_schema.processlist WHERE user='vexo' AND time_ms > 200";
    for (int wait = 0; wait < 250 && mortal.ask(idle) != "2"; ++wait)
        usleep(20000);
    mortal.sendSignal(SIGKILL);
    EXPECT_EQ(stuck->finish(), 1);
    EXPECT_NE(stuck->output.find("ACTIVE FILES: "), std::string::npos);
    EXPECT_NE(stuck->output.find("\n2013: "), std::string::npos) << stuck->output;

    std::uint32_t size = XR_NAME_SIZE;
    char name[XR_NAME_SIZE];
    EXPECT_EQ(XrGetOpenFileName(m_handle, count - 1, &size, name), 0) << "the snapshot outlives the server";
    const int lost = XrGetKesdClientsData(m_handle, &count);
    EXPECT_TRUE(lost == 2013 || lost == 2006) << lost;
    EXPECT_EQ(XrGetSQLConnectionsData(m_handle, &count), lost);
}

TEST_F(MariadbServer, SecureConnectionsAreVerifiedOrRefused) {
    ::umask(022);  // the server that root starts runs as nobody and has to read these
    const std::string authority = s_server->directory + "/ca.pem";
    const std::string key = s_server->directory + "/key.pem";
    Program openssl(
        "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=127.0.0.1 -addext "
        "subjectAltName=IP:127.0.0.1 -keyout " +
        key + " -out " + authority);
    if (openssl.finish() == 127) GTEST_SKIP() << "No openssl to make a certificate with";
    ASSERT_EQ(chmod(key.c_str(), 0644), 0);
    setenv("XRMARIADB_SSL_CA", authority.c_str(), 1);
    EXPECT_EQ(connect(s_server->tcp, "vexo"), 2026) << "this server speaks in clear only";

    ThrowAwayServer secure("--performance-schema=OFF --ssl-cert=" + authority + " --ssl-key=" + key);
    secure.ask(std::string("CREATE USER vexo@'%' IDENTIFIED BY '") + kPassword +
               "' REQUIRE SSL; GRANT PROCESS ON *.* TO vexo@'%'");
    EXPECT_EQ(connect("localhost:" + std::to_string(secure.port), "vexo"), 2026) << "not the name in the certificate";
    ASSERT_EQ(connect(secure.tcp, "vexo"), 0);
    EXPECT_NE(contents(m_log).find("performance_schema is off"), std::string::npos);
    EXPECT_GT(readRecord(m_handle).files.size(), 3U) << "the tablespaces stand in for the files";
    // Over TLS the dead server would end this process by a signal.
    signal(SIGPIPE, SIG_DFL);
    secure.sendSignal(SIGKILL);
    usleep(100000);
    std::uint32_t count = 0;
    EXPECT_GT(XrGetSQLConnectionsData(m_handle, &count), 2000);
    unsetenv("XRMARIADB_SSL_CA");
    EXPECT_EQ(connect(secure.tcp, "vexo"), 2002);
}
