// SPDX-License-Identifier: MIT
// The simulated engine's own promises: what scenarios, faults, life, generators and the trace do.
#include <csignal>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <thread>

#include "Support.h"
#include "engine/QRIMonitorHelper.h"
#include "status/QRIException.h"

namespace {

std::int32_t h = 0;  // the connection

// The functions that this program is linked with.
XrApi linkedApi() {
    XrApi api;
#define VEXO_LINKED(name) api.name = ::name;
    XR_FUNCTIONS(VEXO_LINKED)
#undef VEXO_LINKED
    api.XrConnectServer = [](const char* server, const char* user, const char* password, std::int32_t* handle) {
        const auto status = ::XrConnectServer(server, user, password, handle);
        h = *handle;
        return status;
    };
    return api;
}

// The engine of one scenario, used as the monitor does.
class SimulatedEngine : public testing::Test {
protected:
    SimulatedEngine() { std::filesystem::create_directories(m_folder); }
    ~SimulatedEngine() override {
        finish();
        std::filesystem::remove_all(m_folder);
    }

    // 0, or the status that refused the connection.
    int start(const std::string& scenario) {
        finish();
        writeFile(m_folder + "/scenario", scenario);
        ::setenv("XRSIM_SCENARIO", (m_folder + "/scenario").c_str(), 1);
        // A path of its own for each start, since a trace goes on where it is named again.
        m_trace = m_folder + "/trace" + std::to_string(++s_starts);
        ::setenv("XRSIM_TRACE", m_trace.c_str(), 1);
        m_engine = std::make_unique<QRIMonitorHelper>(linkedApi());
        return statusOf([&] { m_engine->connect(L"server", L"user", L"password"); });
    }
    void finish() {
        if (m_engine) m_engine->disconnect();
        m_engine = nullptr;
    }
    std::string trace() const { return contents(m_trace); }

    template <typename Action>
    static int statusOf(Action action) {
        try {
            action();
            return XR_OK;
        } catch (const QRIException& error) {
            return error.getErrorCode();
        }
    }

    // One record in few words: "F name(handles) ..; C id(handles) ..; S user ..". A section that fails is "!status".
    std::string record() {
        m_fileHandles.clear();
        m_clientHandles.clear();
        m_recordsRead.clear();
        String files = L"F";
        String clients = L"; C";
        String connections = L"; S";
        const int filesStatus = statusOf([&] {
            const auto list = m_engine->getActiveFileInfoList(true);
            for (const auto& file : *list) {
                files += concat(L" ", file->fileName, L"(", file->handles->size(), L")");
                for (const auto& handle : *file->handles)
                    m_fileHandles.insert(concat(file->fileName, L" of ", handle->clientName.view()));
            }
        });
        const int clientsStatus = statusOf([&] {
            const auto list = m_engine->getActiveSessionInfoList(true);
            for (const auto& client : *list) {
                clients += concat(L" ", client->clientId->idText, L"(", client->handles->size(), L")");
                m_recordsRead[client->clientId->idText] = client->recordsRead;
                for (const auto& handle : *client->handles)
                    m_clientHandles.insert(concat(handle->fileName.view(), L" of ", client->sessionName));
            }
        });
        const int connectionsStatus = statusOf([&] {
            const auto list = m_engine->getConnInfoList();
            for (const auto& connection : *list)
                connections += L" " + connection->userName;
        });
        if (filesStatus != XR_OK) files = concat(L"F !", filesStatus);
        if (clientsStatus != XR_OK) clients = concat(L"; C !", clientsStatus);
        if (connectionsStatus != XR_OK) connections = concat(L"; S !", connectionsStatus);
        return narrow(files + clients + connections);
    }

    std::unique_ptr<QRIMonitorHelper> m_engine;
    std::multiset<String> m_fileHandles;    // as the files tell
    std::multiset<String> m_clientHandles;  // as the clients tell
    std::map<String, std::uint64_t> m_recordsRead;

private:
    const std::string m_folder = testing::TempDir() + "xrsim" + std::to_string(::getpid());
    std::string m_trace;
    static inline int s_starts = 0;
};

TEST_F(SimulatedEngine, SaysWhereAScenarioIsWrong) {
    const std::pair<const char*, const char*> rows[] = {
        {"[engine]\ntype = 6\nspeed = 3\n", ":3:1: unknown key \"speed\""},
        {"[[file]]\nname = 'a'\n[[file.handle]]\nopen_mode = 256\n", ":4:13: open_mode: out of range 0 to 255"},
        {"[[file]]\npage_size = 4096\n", ":1:1: the file needs a name"},
        {"[[session]]\nid = 'TWELVE_BYTES'\n", ":2:6: id: longer than 11 bytes"},
        {"[usage]\nlocks = { max = 3 }\n", ":2:11: unknown key \"max\""},
        {"[[fault]]\nfunction = 'XrGetFile'\n", ":2:12: function: there is no function of this name"},
        {"[[fault]]\nfunction = 'XrStop'\n", ":1:1: the fault does nothing"},
        {"[[file]]\nname = { hex = '4' }\n", ":2:16: hex: pairs of hexadecimal digits are needed"},
        {"[[session]]\nid = { fill = 'x', length = 3, nul = false }\n", ":2:6: id: without a NUL, exactly 12 bytes"},
        {"[generate]\nfile_name = 'a'\n", ":2:13: file_name: a pattern holds \"{n}\" once"},
        {"[[fault]]\ncrash = 'SIGBUS'\n", ":2:9: crash: \"SIGABRT\" or \"SIGSEGV\" is needed"},
        {"[engine\n", ":1:8: "},
    };
    for (const auto& [scenario, mistake] : rows) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(start(scenario), 3001) << scenario;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_NE(said.find(mistake), std::string::npos) << scenario << said;
    }
    std::uint32_t count = 0;
    XrStart(nullptr);
    EXPECT_EQ(XrGetOpenFilesData(XR_LOCAL_ENGINE, &count), 3001) << "where nothing has to be connected to";
    XrStop(nullptr);
}

TEST_F(SimulatedEngine, AdmitsItsAccounts) {
    const std::pair<const char*, int> rows[] = {
        {"", 0},
        {"[[account]]\nserver = 'server'\nuser = 'user'\npassword = 'password'", 0},
        {"[[account]]\nuser = 'user'\npassword = 'password'", 0},
        {"[[account]]\nserver = 'other'\nuser = 'user'\npassword = 'password'", 3002},
        {"[[account]]\nuser = 'user'\npassword = 'wrong'", 3003},
    };
    for (const auto& [account, status] : rows) {
        EXPECT_EQ(start(account), status) << account;
        finish();
        EXPECT_EQ(trace().find("MISUSE"), std::string::npos) << trace();
        EXPECT_NE(trace().find("password=\"***\""), std::string::npos);
    }
}

TEST_F(SimulatedEngine, PlaysFaults) {
    const std::string handles = "{ handle = [{ file = 'a' }, { file = 'b' }] }";
    const std::string engine = "file = [{ name = 'a' }, { name = 'b' }]\nconnection = [{}]\nsession = [" + handles +
                               ", " + handles + "]\n[[fault]]\n";
    const std::string files = "F a(2) b(2); ";
    const std::string rest = "C C1(2) C2(2); S user1";
    const std::pair<const char*, std::string> rows[] = {
        {"function = 'XrGetFileInfo2'\ncall = 1\nstatus = 7015", "F b(2); " + rest},
        {"function = 'XrGetFileInfo2'\nname = 'a'\nstatus = 99", "F !99; " + rest},
        {"function = 'XrGetOpenFileName'\nindex = 1\nstatus = 7008", "F a(2); " + rest},
        {"function = 'XrGetOpenFileName'\nname = 'a'\nvanish = true", "F b(2); " + rest},
        {"function = 'XrGetFileHandleInfo'\nindex = 0\nvanish = true", "F; " + rest},
        {"function = 'XrGetOpenFilesData'\ncount_change = -1", "F a(2); " + rest},
        {"function = 'XrGetKesdClientId'\nname = 'C1'\nvanish = true", files + "C C2(2); S user1"},
        {"function = 'XrGetKesdClientsData'\ncount = 1", files + "C C1(2); S user1"},
        {"function = 'XrGetKesdClientsData'\nlose_connection = true", files + "C !3005; S !3005"},
        {"call = 6\nlose_connection = true", "F !3005; C !3005; S !3005"},
    };
    for (const auto& [fault, expected] : rows) {
        ASSERT_EQ(start(engine + fault), 0);
        EXPECT_EQ(record(), expected) << fault;
        EXPECT_EQ(trace().find("MISUSE"), std::string::npos) << fault << trace();
    }
}

TEST_F(SimulatedEngine, FailsInWaysThatNoStatusTells) {
    const std::string usage = "[[fault]]\nfunction = 'XrGetKesdUsageEx2'\n";
    XRKESDUSAGE got{};
    ASSERT_EQ(start(usage + "delay_ms = 60_000\ninterruptible = true\n"), 0);
    std::signal(SIGALRM, [](int) {});
    ualarm(20'000, 0);
    EXPECT_EQ(XrGetKesdUsageEx2(h, &got), 3009);
    ASSERT_EQ(start(usage + "crash = 'SIGABRT'\n"), 0);
    EXPECT_EXIT(XrGetKesdUsageEx2(h, &got), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EQ(start(std::string((4U << 20) + 1, '\n')), 3001) << "a scenario is limited to 4 MiB";
}

TEST_F(SimulatedEngine, LivesTheSameLifeEachTime) {
    std::string shop = contents(SHOP_SCENARIO);
    shop.erase(shop.find("[usage]"));  // peaks that are stated hide the counted ones
    std::set<std::string> records;
    std::string lives[2];
    for (std::string& life : lives) {
        ASSERT_EQ(start(shop), 0);
        std::uint64_t peak = 0;
        m_recordsRead.clear();
        for (int round = 0; round < 40; ++round) {
            const auto readBefore = m_recordsRead;
            life += *records.insert(record() + "\n").first;
            const auto usage = m_engine->getUsageStats();
            EXPECT_EQ(usage->sessionCountCurrent, m_recordsRead.size());
            EXPECT_EQ(usage->handlesCurrent, m_fileHandles.size());
            EXPECT_EQ(m_fileHandles, m_clientHandles);
            peak = std::max(peak, usage->handlesCurrent);
            EXPECT_EQ(usage->handlesPeak, peak);
            for (const auto& [client, read] : readBefore) {
                const auto now = m_recordsRead.find(client);
                EXPECT_TRUE(now == m_recordsRead.end() || now->second > read) << client;
            }
        }
    }
    EXPECT_EQ(lives[0], lives[1]);
    EXPECT_GT(records.size(), 10U) << "nothing comes and goes";
}

// Files and clients tell of the same handles, also where numbers do not divide evenly.
TEST_F(SimulatedEngine, GeneratesItemsThatAgree) {
    for (const std::size_t files : {5U, 10U, 35U}) {
        std::string scenario = "[life]\narrivals = 3\n[generate]\nhandles_per_file = 9\nsessions = 5\n";
        scenario += "files = " + std::to_string(files);
        scenario += "\nhandles_per_session = " + std::to_string(files * 9 / 5);
        ASSERT_EQ(start(scenario), 0);
        for (int round = 0; round < 3; ++round) {
            record();
            EXPECT_EQ(m_fileHandles.size(), files * 9);
            EXPECT_EQ(m_fileHandles, m_clientHandles);
        }
    }
}

TEST_F(SimulatedEngine, WritesTextsAsTheScenarioSays) {
    const std::string bytes = "id = { hex = '43 00 ff 0A' }\nname = { fill = 'ab', length = 5 }\n";
    const std::string full = "network_address = { fill = 'x', nul = false }\n";
    ASSERT_EQ(start("[[session]]\n" + bytes + full + "[[file]]\nname = \"\\u001b[31m\\n\"\n"), 0);
    record();
    for (const std::string& text :
         {std::string("client=\"C\", idWord=1"), std::string("sessionName=\"ababa\""),
          "networkAddress=\"" + std::string(72, 'x') + '"', std::string("\"\\x1b[31m\\x0a\"")}) {
        EXPECT_NE(trace().find(text), std::string::npos) << text << trace();
    }
}

TEST_F(SimulatedEngine, NotesMisuse) {
    std::uint32_t n = 0;
    std::uint32_t small = 12;
    char name[XR_NAME_SIZE];
    XRCLIENTID id{};
    XRKESDCLIENTHANDLEINFO held{};
    const auto take = [&] { return XrGetKesdClientsData(h, &n), XrGetKesdClientId(h, 0, &id); };
    const std::tuple<const char*, std::function<int()>, int> rows[] = {
        {"XrStart: the library is started already", [&] { return XrStart(nullptr); }, 3006},
        {"XrStart: called from another", [&] { return std::thread([] { XrStart(nullptr); }).join(), 0; }, 0},
        {"XrStop: the connection is still open", [&] { return XrStop(nullptr); }, 0},
        {"XrStop: the library is stopped already", [&] { return XrStop(nullptr), XrStop(nullptr); }, 3006},
        {"XrGetOpenFilesData: the library is not", [&] { return finish(), XrGetOpenFilesData(h, &n); }, 3006},
        {"XrDisconnect: no connection", [&] { return XrDisconnect(h), XrDisconnect(h); }, 3004},
        {"XrDisconnect: the local", [&] { return XrDisconnect(-1), XrDisconnect(-1); }, 3004},
        {"XrGetKesdClientsData: no connection", [&] { return XrGetKesdClientsData(h + 1, &n); }, 3004},
        {"XrGetKesdClientId: no snapshot", [&] { return XrGetKesdClientId(h, 0, &id); }, 7008},
        {"XrFreeOpenFilesData: no snapshot", [&] { return record(), XrFreeOpenFilesData(h); }, 3006},
        {"XrGetKesdClientsData: the last", [&] { return take(), take(); }, 0},
        {"XrDisconnect: a snapshot", [&] { return take(), XrDisconnect(h); }, 0},
        {"XrGetKesdClientHandleInfo: the handles", [&] { return take(), XrGetKesdClientHandleInfo(h, &id, 0, &held); },
         7008},
        {"XrGetOpenFileName: the size", [&] { return XrGetOpenFileName(h, 0, &small, name); }, 3007},
        {"XrGetKesdUsageEx2: an argument is NULL", [&] { return XrGetKesdUsageEx2(h, nullptr); }, 3007},
    };
    for (const auto& [line, act, status] : rows) {
        ASSERT_EQ(start("[[session]]\n"), 0);
        EXPECT_EQ(act(), status) << line;
        EXPECT_NE(trace().find("MISUSE " + std::string(line)), std::string::npos) << line << "\n" << trace();
    }
}

}  // namespace
