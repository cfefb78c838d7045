// SPDX-License-Identifier: MIT
#include "engine/QRIMonitorHelper.h"

#include <map>

#include "Support.h"

namespace {

constexpr std::int32_t kHandle = 2;

// An engine library of two files, sessions and connections with two handles each, that notes how it is called.
struct FakeEngine {
    std::map<std::string, int> script;  // the status of a call; under its name and "=", the number it gives
    std::string calls;                  // in their order, each behind a blank
    int fill = 0;                       // every byte of a record; without one, items carry their number
    std::size_t written = 0;            // bytes of a first record, where the library knows of more than the monitor
    std::string current = {};
    std::uint32_t index = 0;

    template <typename... Arguments>
    std::int16_t call(const std::string& name, Arguments... arguments) {
        current = name;
        (take(arguments), ...);
        calls += " " + current;
        return static_cast<std::int16_t>(script[current]);
    }
    void take(std::int32_t handle) { current += handle == kHandle ? "" : "@" + std::to_string(handle); }
    void take(std::uint32_t item) { current += std::to_string(index = item); }
    void take(const char* text) { current += text; }
    void take(const XRCLIENTID* client) { current += std::to_string(client->idWord); }
    void take(void* /*reserved*/) {}
    void take(std::int32_t* handle) { *handle = script.try_emplace(current + "=", kHandle).first->second; }
    void take(std::uint32_t* number) {
        // Every further number of a call is one more.
        *number = static_cast<std::uint32_t>(script.try_emplace(current + "=", 2).first->second++);
    }
    void take(char* text) {
        std::memset(text, fill, XR_NAME_SIZE);
        if (fill == 0) text[0] = static_cast<char>('0' + index);
    }
    template <typename Record>
    void take(Record* record) {
        std::memset(static_cast<void*>(record), fill, std::max(index == 0 ? written : 0, sizeof(Record)));
        if (fill == 0) mark(*record);
    }
    template <typename Record>
    void mark(Record& /*record*/) {}
    void mark(XRCLIENTID& record) { record.idWord = static_cast<std::uint16_t>(index); }
    void mark(XRFILEHANDLEINFO& record) {
        record.openMode = static_cast<std::uint8_t>(index), *record.clientName = 'c';
    }
    void mark(XRKESDCLIENTHANDLEINFO& record) { record.openMode = static_cast<std::uint8_t>(index); }
    void mark(XRSQLCONNINFO& record) { record.totalConnectionTime = index; }
    void mark(XRKESDCOMMSTAT& record) { record.protocolCount = static_cast<std::uint32_t>(script["protocols"]); }
    void mark(XRKESDVERSION& record) { record = {13, 1, 28}; }
};
FakeEngine s_fake;

// D the data of an enumeration, N a name, an identifier or a connection, I what is known of it, H the data of its
// handles, h one of those, F the free call; f, s and c for files, sessions and connections.
// clang-format off
const std::map<std::string, std::string> kCalls = {
    {"XrStart", "start"}, {"XrStop", "stop"}, {"XrConnectServer", "connect"}, {"XrDisconnect", "disconnect"},
    {"XrGetEngineInformation", "type"}, {"XrGetKesdVersion", "version"},
    {"XrGetKesdUsageEx2", "usage"}, {"XrGetKesdCommStatEx", "comm"},
    {"XrGetOpenFilesData", "Df"}, {"XrGetOpenFileName", "N"}, {"XrGetFileInfo2", "I"},
    {"XrGetFileHandlesData", "H"}, {"XrGetFileHandleInfo", "h"}, {"XrFreeOpenFilesData", "Ff"},
    {"XrGetKesdClientsData", "Ds"}, {"XrGetKesdClientId", "N"}, {"XrGetKesdClientInfo", "I"},
    {"XrGetKesdClientHandlesData", "H"}, {"XrGetKesdClientHandleInfo", "h"}, {"XrFreeKesdClientsData", "Fs"},
    {"XrGetSQLConnectionsData", "Dc"}, {"XrGetSQLConnectionInfo2", "N"}, {"XrFreeSQLConnectionsData", "Fc"}};
// clang-format on

XrApi fakeApi() {
    XrApi api;
#define VEXO_FAKE(name) api.name = [](auto... arguments) { return s_fake.call(kCalls.at(#name), arguments...); };
    XR_FUNCTIONS(VEXO_FAKE)
#undef VEXO_FAKE
    return api;
}

struct Connected : QRIMonitorHelper {
    explicit Connected(const FakeEngine& engine) : QRIMonitorHelper(fakeApi()) {
        s_fake = {};
        connect(L"s", L"", L"");
        s_fake = engine;
    }
};

// Each item by its number, with the numbers of its handles; what failed where that ended it.
String collected(QRIMonitorHelper& engine, char type, bool withHandles) {
    String got;
    const auto add = [&got](const auto& item, const auto& number) {
        got += concat(L" ", number, L":");
        for (const auto& handle : *item->handles)
            got += decimal(handle->openMode);
    };
    const String failed = failure([&] {
        const auto files = type == 'f' ? engine.getActiveFileInfoList(withHandles) : makeRef<List<FileInfo>>();
        const auto sessions = type == 's' ? engine.getActiveSessionInfoList(withHandles) : makeRef<List<SessionInfo>>();
        const auto connections = type == 'c' ? engine.getConnInfoList() : makeRef<List<ConnInfo>>();
        for (const auto& file : *files)
            add(file, file->fileName);
        for (const auto& session : *sessions)
            add(session, session->clientId->idWord);
        for (const auto& connection : *connections)
            got += concat(L" ", connection->totalConnectionTime);
    });
    return failed == L"nothing" ? got : failed;
}

}  // namespace

TEST(QRIMonitorHelper, CollectsWhatIsThereAndFreesItOnceOnEveryWay) {
    const std::tuple<char, bool, std::map<std::string, int>, String, std::string> rows[] = {
        {'f', false, {}, L" 0: 1:", " Df N0 I0 N1 I1 Ff"},
        {'f', true, {}, L" 0:01 1:01", " Df N0 I0 H0 h00 h01 N1 I1 H1 h10 h11 Ff"},
        {'f', true, {{"Df", 3}}, L"QRIException: 3: three", " Df"},
        {'f', false, {{"N1", 7008}}, L" 0:", " Df N0 I0 N1 Ff"},
        {'f', false, {{"N1", 7015}}, L"QRIException: 7015: gone", " Df N0 I0 N1 Ff"},
        {'f', false, {{"I0", 7015}}, L" 1:", " Df N0 I0 N1 I1 Ff"},
        {'f', false, {{"I0", 3}}, L"QRIException: 3: three", " Df N0 I0 Ff"},
        {'f', true, {{"H0", 7015}}, L" 1:01", " Df N0 I0 H0 N1 I1 H1 h10 h11 Ff"},
        {'f', true, {{"H0=", 0}}, L" 1:01", " Df N0 I0 H0 N1 I1 H1 h10 h11 Ff"},
        {'f', true, {{"H1", 3}}, L"QRIException: 3: three", " Df N0 I0 H0 h00 h01 N1 I1 H1 Ff"},
        {'f', true, {{"h01", 7008}}, L" 0:0 1:01", " Df N0 I0 H0 h00 h01 N1 I1 H1 h10 h11 Ff"},
        {'f', true, {{"h01", 7015}}, L" 1:01", " Df N0 I0 H0 h00 h01 N1 I1 H1 h10 h11 Ff"},
        {'f', true, {{"h10", 3}}, L"QRIException: 3: three", " Df N0 I0 H0 h00 h01 N1 I1 H1 h10 Ff"},
        {'s', false, {}, L" 0: 1:", " Ds N0 I0 N1 I1 Fs"},
        {'s', true, {}, L" 0:01 1:01", " Ds N0 I0 H0 h00 h01 N1 I1 H1 h10 h11 Fs"},
        {'s', true, {{"Ds", 3}}, L"QRIException: 3: three", " Ds"},
        {'s', false, {{"N0", 7008}}, L"", " Ds N0 Fs"},
        {'s', false, {{"N1", 3}}, L"QRIException: 3: three", " Ds N0 I0 N1 Fs"},
        {'s', false, {{"I0", 7010}}, L" 1:", " Ds N0 I0 N1 I1 Fs"},
        {'s', false, {{"I1", 7015}}, L"QRIException: 7015: gone", " Ds N0 I0 N1 I1 Fs"},
        {'s', true, {{"H0", 7010}}, L"QRIException: 7010: LK_MSG_P_E_7010", " Ds N0 I0 H0 Fs"},
        {'s', true, {{"H0=", 0}}, L" 1:01", " Ds N0 I0 H0 N1 I1 H1 h10 h11 Fs"},
        {'s', true, {{"h01", 7008}}, L" 0:0 1:01", " Ds N0 I0 H0 h00 h01 N1 I1 H1 h10 h11 Fs"},
        {'s', true, {{"h01", 7010}}, L" 1:01", " Ds N0 I0 H0 h00 h01 N1 I1 H1 h10 h11 Fs"},
        {'s', true, {{"h10", 7015}}, L"QRIException: 7015: gone", " Ds N0 I0 H0 h00 h01 N1 I1 H1 h10 Fs"},
        {'c', false, {}, L" 0 1", " Dc N0 N1 Fc"},
        {'c', false, {{"Dc", 3}}, L"QRIException: 3: three", " Dc"},
        {'c', false, {{"N0", 7008}}, L"", " Dc N0 Fc"},
        {'c', false, {{"N1", 7015}}, L"QRIException: 7015: gone", " Dc N0 N1 Fc"}};
    for (const auto& [type, withHandles, script, result, calls] : rows) {
        Connected engine({script, {}});
        EXPECT_EQ(collected(engine, type, withHandles), result) << calls;
        EXPECT_EQ(s_fake.calls, calls) << result;
    }
}

TEST(QRIMonitorHelper, KeepsItemsWithoutHandlesAndCountsWhatVanished) {
    const std::tuple<char, std::map<std::string, int>, String, std::uint64_t> rows[] = {
        {'f', {}, L" 01 01", 0},
        {'f', {{"H0=", 0}}, L" - 01", 0},
        {'f', {{"H0", 7015}}, L" - 01", 0},
        {'f', {{"h01", 7015}}, L" - 01", 1},
        {'f', {{"I0", 7015}}, L" 01", 1},
        {'s', {{"H0=", 0}}, L" - 01", 0},
        {'s', {{"h01", 7010}, {"I1", 7010}}, L" -", 2}};
    for (const auto& [type, script, result, vanished] : rows) {
        Connected engine({script, {}});
        String got;
        const auto add = [&got](const auto& items) {
            for (const auto& item : *items) {
                got += item->handles->empty() ? L" -" : L" ";
                for (const auto& handle : *item->handles)
                    got += decimal(handle->openMode);
            }
        };
        type == 'f' ? add(engine.collectFiles(Handles::kAll)) : add(engine.collectSessions(Handles::kAll));
        EXPECT_EQ(got, result) << s_fake.calls;
        EXPECT_EQ(engine.vanished(), vanished) << s_fake.calls;
    }
}

TEST(QRIMonitorHelper, ConnectsAndDisconnectsOnce) {
    const std::string longest(255, 'x');
    const std::tuple<std::string, std::string, int, int, String, std::string> rows[] = {
        {"", "", 0, 2, L"nothing", " start disconnect@-1 stop"},
        {"", "p", 0, 2, L"nothing", " start connect-p disconnect stop"},
        {"\xC3\xA4", longest, 0, 2, L"nothing", " start connect\xC3\xA4-" + longest + " disconnect stop"},
        {"s", "p", 3, -2, L"QRIException: 3: three", " start connects-p stop"},
        {"s", "p", -9, 2, L"QRIException: -9: LK_MSG_P_E_-9", " start connects-p stop disconnect"},
        {longest + "x", "p", 0, 2, L"Exception: too long SERV 255", " start stop"},
        {"s", longest + "\xC3", 0, 2, L"Exception: too long PASS 255", " start stop"}};
    for (const auto& [server, password, status, handle, failed, calls] : rows) {
        const String user = password.empty() ? L"" : L"-";
        const std::string call = "connect" + server + narrow(user) + password;
        s_fake = {{{call, status}, {call + "=", handle}}, {}};
        QRIMonitorHelper engine(fakeApi());
        EXPECT_EQ(failure([&, s = widen(server), p = widen(password)] { engine.connect(s, user, p); }), failed)
            << calls;
        engine.disconnect();
        engine.disconnect();
        EXPECT_EQ(s_fake.calls, calls) << failed;
    }
}

TEST(QRIMonitorHelper, WidensCodesAndNumbersByTheirSign) {
    Connected engine({{{"Df=", 1}}, {}, 0xFF});
    const auto file = (*engine.getActiveFileInfoList(true))[0];
    const auto handle = (*file->handles)[0];
    const auto session = (*engine.getActiveSessionInfoList(true))[0];
    const auto usage = engine.getUsageStats();
    const auto stats = engine.getCommStats();
    EXPECT_EQ(concat(file->pageSize, L" ", file->physicalFileSizeKB, L" ", handle->clientIndex, L" ", session->pid,
                     L" ", usage->locksPeak, L" ", usage->engineUptimeSecs, L" ", stats->remoteSessionsMax, L" ",
                     (*stats->protocols)[8]->remoteSessionsPeak),
              L"4294967295 4294967295 4294967295 4294967295 4294967295 4294967295 4294967295 4294967295");
    EXPECT_EQ(concat(file->readLocks, L" ", handle->openMode, L" ", handle->transactionState, L" ", session->site, L" ",
                     session->spareCode, L" ", session->clientId->taskNumber, L" ", (*session->handles)[0]->openMode,
                     L" ", (*session->handles)[0]->transactionState),
              L"255 255 65535 -1 -1 65535 255 -1");
    EXPECT_EQ(concat(usage->userCountMax, usage->filesMax, usage->handlesMax, usage->transactionsMax, usage->clientsMax,
                     usage->workerThreadsMax, usage->dataInUseMBMax, usage->sessionCountMax),
              L"-1-1-1-1-1-1-1-1");
    for (const auto& [announced, read] : {std::pair(0, 0), {9, 9}, {10, 9}, {-1, 9}}) {
        s_fake = {{{"protocols", announced}}, {}};
        EXPECT_EQ(engine.getCommStats()->protocols->size(), read) << announced;
    }
}

TEST(QRIMonitorHelper, ReadsTextsToTheirEndAndRecordsToTheirs) {
    for (const std::size_t written : {0U, 200U, 1000U, 1036U}) {
        Connected engine({{}, {}, 0xE4, written});
        const auto file = (*engine.getActiveFileInfoList(true))[1];
        const auto session = (*engine.getActiveSessionInfoList(true))[1];
        const auto sql = (*engine.getConnInfoList())[1];
        // The last text of a record may run on behind it; the next record's does not run into what is left there.
        EXPECT_EQ((*file->handles)[0]->clientName.view().size(), std::max<std::size_t>(written, 76) - 10);
        EXPECT_EQ((*session->handles)[0]->fileName.view().size(), std::max<std::size_t>(written, 1030) - 6);
        EXPECT_EQ(concat(file->fileName.size(), L" ", (*file->handles)[1]->clientName.view().size(), L" ",
                         session->clientId->idText.size(), L" ", session->sessionName.size(), L" ",
                         session->networkAddress.size(), L" ", (*session->handles)[1]->fileName.view().size(), L" ",
                         sql->userName.size(), L" ", sql->clientHostName.size(), L" ", sql->networkAddress.size(), L" ",
                         sql->clientApplication.size(), L" ", sql->dataSourceName.size()),
                  L"1024 66 12 80 72 1024 65 33 256 66 66");
        EXPECT_NE(s_fake.calls.find(" H" + std::string(1024, '\xE4') + " "), std::string::npos);  // as it was given
        EXPECT_EQ((*engine.getCommStats()->protocols)[8]->protocolType, engine.getUsageStats()->userCountPeak);
    }
}

TEST(QRIMonitorHelper, TellsAboutTheEngineAndSharesNames) {
    Connected engine({{{"type=", 4}, {"H1", 7015}}, {}});
    EXPECT_EQ(concat(engine.getEngineType(), L" ", engine.getEngineVersion()), L"7 13.01.028");
    const auto handles = engine.getFileHandleInfoList(L"0");
    EXPECT_EQ((*handles)[0]->clientName.view().data(), (*handles)[1]->clientName.view().data());
    EXPECT_TRUE(engine.getFileHandleInfoList(L"1")->empty());
    s_fake.script = {{"type", 3}, {"version", 3}, {"usage", 7008}, {"comm", 7008}};
    EXPECT_EQ(failure([&] { engine.getEngineType(); }), L"QRIException: 3: three");
    EXPECT_EQ(failure([&] { engine.getEngineVersion(); }), L"QRIException: 3: three");
    EXPECT_EQ(failure([&] { engine.getUsageStats(); }), L"QRIException: 7008: LK_MSG_P_E_7008");
    EXPECT_EQ(failure([&] { engine.getCommStats(); }), L"QRIException: 7008: LK_MSG_P_E_7008");
}
