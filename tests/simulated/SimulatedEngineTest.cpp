// SPDX-License-Identifier: MIT
// The simulated engine's own promises: what scenarios, faults, life, generators and the trace do.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "xradmin.h"

namespace {

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The engine of one scenario, used as a monitor would.
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
        std::ofstream(m_folder + "/scenario") << scenario;
        setenv("XRSIM_SCENARIO", (m_folder + "/scenario").c_str(), 1);
        // A path of its own for each start, since a trace goes on where it is named again.
        m_trace = m_folder + "/trace" + std::to_string(++s_starts);
        setenv("XRSIM_TRACE", m_trace.c_str(), 1);
        m_isOpen = true;
        XrStart(nullptr);
        return m_status = XrConnectServer("server", "user", "password", &h);
    }
    void finish() {
        if (!std::exchange(m_isOpen, false)) return;
        // Whoever is refused stops first.
        if (m_status != 0) XrStop(nullptr);
        XrDisconnect(h);
        if (m_status == 0) XrStop(nullptr);
    }
    std::string trace() const { return contentsOf(m_trace); }

    // `next` names an item, counts the handles that it could read, and gives the status that it came to.
    template <typename Next>
    std::string section(std::string out, decltype(&XrGetOpenFilesData) data, decltype(&XrFreeOpenFilesData) free,
                        Next next) {
        std::uint32_t count = 0;
        int status = data(h, &count);
        if (status != 0) return out + " !" + std::to_string(status);
        out += " " + std::to_string(count) + ":";
        for (std::uint32_t i = 0; i < count && status == 0; ++i) {
            std::string name;
            std::uint32_t handles = 0;
            status = next(i, name, handles);
            if (name.empty()) break;
            const bool gone = status == XR_FILE_GONE || status == XR_CLIENT_GONE;
            out += " " + name + (gone ? " gone" : "(" + std::to_string(handles) + ")");
            if (gone || status == XR_NO_MORE_ITEMS) status = 0;
        }
        free(h);
        return out + (status != 0 && status != XR_NO_MORE_ITEMS ? " !" + std::to_string(status) : "");
    }

    // One record in few words: "F n: name(handles) ..; C n: id(handles) ..; S n: user(0) .." with the announced counts,
    // "gone" for what vanished, and "!status" where a section ends in an error.
    std::string record() {
        m_fileHandles.clear();
        m_clientHandles.clear();
        m_recordsRead.clear();
        const auto file = [&](std::uint32_t i, std::string& name, std::uint32_t& handles) -> int {
            std::uint32_t count = XR_NAME_SIZE;
            char text[XR_NAME_SIZE + 1] = {};
            XRFILEINFO info{};
            int status = XrGetOpenFileName(h, i, &count, text);
            name = text;
            if (status == 0) status = XrGetFileInfo2(h, text, &info);
            if (status == 0) status = XrGetFileHandlesData(h, text, &count);
            for (XRFILEHANDLEINFO handle{}; status == 0 && handles < count; ++handles) {
                if ((status = XrGetFileHandleInfo(h, text, handles, &handle)) != 0) break;
                m_fileHandles.insert({name, handle.clientName});
            }
            return status;
        };
        const auto client = [&](std::uint32_t i, std::string& name, std::uint32_t& handles) -> int {
            std::uint32_t count = 0;
            XRCLIENTID id{};
            XRKESDCLIENTINFO info{};
            int status = XrGetKesdClientId(h, i, &id);
            name = id.text;
            if (status == 0) status = XrGetKesdClientInfo(h, &id, &info);
            if (status == 0) m_recordsRead[name] = info.recordsRead;
            if (status == 0) status = XrGetKesdClientHandlesData(h, &id, &count);
            for (XRKESDCLIENTHANDLEINFO handle{}; status == 0 && handles < count; ++handles) {
                if ((status = XrGetKesdClientHandleInfo(h, &id, handles, &handle)) != 0) break;
                m_clientHandles.insert({handle.fileName, info.sessionName});
            }
            return status;
        };
        const auto connection = [&](std::uint32_t i, std::string& name, std::uint32_t&) -> int {
            XRSQLCONNINFO info{};
            const int status = XrGetSQLConnectionInfo2(h, i, &info);
            name = info.userName;
            return status;
        };
        std::string out = section("F", XrGetOpenFilesData, XrFreeOpenFilesData, file);
        out += "; " + section("C", XrGetKesdClientsData, XrFreeKesdClientsData, client);
        return out + "; " + section("S", XrGetSQLConnectionsData, XrFreeSQLConnectionsData, connection);
    }

    using Handles = std::multiset<std::pair<std::string, std::string>>;  // file and client

    std::int32_t h = -2;
    Handles m_fileHandles;    // as the files tell
    Handles m_clientHandles;  // as the clients tell
    std::map<std::string, std::uint32_t> m_recordsRead;

private:
    const std::string m_folder = testing::TempDir() + "xrsim" + std::to_string(getpid());
    std::string m_trace;
    static inline int s_starts = 0;
    int m_status = 0;
    bool m_isOpen = false;
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
        std::uint32_t count = 0;
        EXPECT_EQ(XrGetOpenFilesData(XR_LOCAL_ENGINE, &count), 3001);
    }
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
    const std::string files = "F 2: a(2) b(2); ";
    const std::string rest = "C 2: C1(2) C2(2); S 1: user1(0)";
    const std::pair<const char*, std::string> rows[] = {
        {"function = 'XrGetFileInfo2'\ncall = 1\nstatus = 7015", "F 2: a gone b(2); " + rest},
        {"function = 'XrGetFileInfo2'\nname = 'a'\nstatus = 99", "F 2: a(0) !99; " + rest},
        {"function = 'XrGetOpenFileName'\nindex = 1\nstatus = 7008", "F 2: a(2); " + rest},
        {"function = 'XrGetOpenFileName'\nname = 'a'\nvanish = true", "F 2: a gone b(2); " + rest},
        {"function = 'XrGetFileHandleInfo'\nindex = 0\nvanish = true", "F 2: a gone b gone; " + rest},
        {"function = 'XrGetOpenFilesData'\ncount_change = 3", "F 5: a(2) b(2); " + rest},
        {"function = 'XrGetKesdClientId'\nname = 'C1'\nvanish = true", files + "C 2: C1 gone C2(2); S 1: user1(0)"},
        {"function = 'XrGetKesdClientsData'\ncount = 1", files + "C 1: C1(2); S 1: user1(0)"},
        {"function = 'XrGetKesdClientsData'\nlose_connection = true", files + "C !3005; S !3005"},
        {"function = 'XrGetSQLConnectionsData'\nstatus = -5", files + "C 2: C1(2) C2(2); S !-5"},
        {"call = 6\nlose_connection = true", "F 2: a(0) !3005; C !3005; S !3005"},
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
    std::string shop = contentsOf(SHOP_SCENARIO);
    shop.erase(shop.find("[usage]"));  // peaks that are stated hide the counted ones
    std::set<std::string> records;
    std::string lives[2];
    for (std::string& life : lives) {
        ASSERT_EQ(start(shop), 0);
        std::uint32_t peak = 0;
        m_recordsRead.clear();
        for (int round = 0; round < 40; ++round) {
            const auto readBefore = m_recordsRead;
            life += *records.insert(record() + "\n").first;
            XRKESDUSAGE usage{};
            ASSERT_EQ(XrGetKesdUsageEx2(h, &usage), 0);
            EXPECT_EQ(usage.sessionCountCurrent, m_recordsRead.size());
            EXPECT_EQ(usage.handlesCurrent, m_fileHandles.size());
            EXPECT_EQ(m_fileHandles, m_clientHandles);
            peak = std::max(peak, usage.handlesCurrent);
            EXPECT_EQ(usage.handlesPeak, peak);
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
