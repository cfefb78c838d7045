// SPDX-License-Identifier: MIT
// What a monitor relies on in any library of the engine interface. The library is named by VEXO_CONFORMANCE_LIBRARY,
// and the engine by VEXO_CONFORMANCE_SERVER, _USER and _PASSWORD; without these three the local engine is asked.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "xradmin.h"

namespace {

// Large engines are judged by their first items.
constexpr std::uint32_t kMostItems = 300;

struct Api {
#define XR_MEMBER(name) decltype(&::name) name = nullptr;  // NOLINT(bugprone-macro-parentheses)
    XR_FUNCTIONS(XR_MEMBER)
#undef XR_MEMBER
};

std::string word(const std::string& name, const char* otherwise = "") {
    const char* value = std::getenv(("VEXO_CONFORMANCE_" + name).c_str());
    return value != nullptr ? value : otherwise;
}

const Api& api() {
    static const Api loadedApi = [] {
        Api loaded;
        const std::string path = word("LIBRARY");
        void* library = path.empty() ? nullptr : dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (path.empty()) ADD_FAILURE() << "VEXO_CONFORMANCE_LIBRARY does not name a library";
        if (!path.empty() && !library) ADD_FAILURE() << dlerror();
        if (!library) std::exit(EXIT_FAILURE);
#define XR_LOAD(name)                                                         \
    loaded.name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name)); \
    if (!loaded.name) ADD_FAILURE() << #name " is not exported", std::exit(EXIT_FAILURE);
        XR_FUNCTIONS(XR_LOAD)
#undef XR_LOAD
        return loaded;
    }();
    return loadedApi;
}

// A record before a guard, both filled with one byte, so that what the library wrote can be told from what it left.
template <typename Record>
struct Guarded {
    explicit Guarded(unsigned char fill) : before(fill) {
        std::memset(&record, fill, sizeof record);
        std::memset(guard, fill, sizeof guard);
    }
    bool isIntact() const {
        return std::all_of(guard, std::end(guard), [this](unsigned char byte) { return byte == before; });
    }

    unsigned char before;
    Record record;
    unsigned char guard[64];
};

struct NameBuffer {
    char text[XR_NAME_SIZE];
};

// A text gets a mark where it has no NUL: nothing was written there, or too much.
template <std::size_t Size>
std::string show(const char (&field)[Size]) {
    const std::size_t length = strnlen(field, Size);
    return std::string(field, length) + (length == Size ? " WITHOUT NUL" : "");
}
std::string show(std::int64_t number) {
    return std::to_string(number);
}

template <typename... Fields>
std::string all(const Fields&... fields) {
    return (("[" + show(fields) + "]") + ...);
}

// The fields that a monitor reads.
struct Describe {
    static std::string of(const NameBuffer& r) { return all(r.text); }
    static std::string of(const XRCLIENTID& r) { return all(r.text, r.idWord, r.taskNumber); }
    static std::string of(const XRKESDVERSION& r) { return all(r.majorVersion, r.minorVersion, r.thirdVersion); }
    static std::string of(const XRFILEINFO& r) {
        return all(r.readLocks, r.transactionLock, r.readOnlyFlag, r.pageSize, r.physicalFileSizeKB);
    }
    static std::string of(const XRFILEHANDLEINFO& r) {
        return all(r.clientIndex, r.openMode, r.recordLockType, r.waitState, r.transactionState, r.clientName);
    }
    static std::string of(const XRKESDCLIENTINFO& r) {
        return all(r.site, r.sessionName, r.spareCode, r.recordsDeleted, r.recordsUpdated, r.recordsInserted,
                   r.recordsRead, r.diskAccesses, r.cacheAccesses, r.locksUsed, r.transactionState, r.pid,
                   r.connectionNumber, r.networkAddress);
    }
    static std::string of(const XRKESDCLIENTHANDLEINFO& r) {
        return all(r.openMode, r.recordLockType, r.waitState, r.transactionState, r.fileName);
    }
    static std::string of(const XRSQLCONNINFO& r) {
        return all(r.userName, r.clientHostName, r.networkAddress, r.clientApplication, r.dataSourceName,
                   r.connectionStatus, r.activeIdlePeriodMs, r.totalConnectionTime);
    }
};

class Conformance : public testing::Test {
protected:
    void SetUp() override { open(); }
    void TearDown() override { close(); }

    void open() {
        ASSERT_EQ(api().XrStart(nullptr), 0);
        const std::string server = word("SERVER"), user = word("USER"), password = word("PASSWORD");
        h = XR_LOCAL_ENGINE;
        if ((server + user + password).empty()) return;
        ASSERT_EQ(api().XrConnectServer(server.c_str(), user.c_str(), password.c_str(), &h), 0);
        // -2 is what a monitor keeps while it has no connection.
        EXPECT_TRUE(h != XR_LOCAL_ENGINE && h != -2) << h;
    }
    void close() {
        api().XrDisconnect(h);
        api().XrStop(nullptr);
    }

    // Reads a record twice, over different bytes. It has to come out the same, be whole, and keep to its place; so do
    // its texts. Any status but 0 has to be the end, or `gone`.
    template <typename Record, typename Get>
    int read(Record& record, int gone, Get get) {
        Guarded<Record> first(0xa5), second(0x5a);
        const int status = get(first.record);
        EXPECT_EQ(get(second.record), status);
        EXPECT_TRUE(first.isIntact() && second.isIntact()) << "bytes outside the record were written";
        record = first.record;
        EXPECT_TRUE(status == XR_OK || status == gone || status == XR_NO_MORE_ITEMS) << status;
        if (status != XR_OK) return status;
        EXPECT_EQ(Describe::of(first.record), Describe::of(second.record));
        EXPECT_EQ(Describe::of(first.record).find("WITHOUT NUL"), std::string::npos) << Describe::of(first.record);
        return status;
    }

    int nameAt(std::uint32_t index, NameBuffer& name) {
        std::uint32_t sizes[] = {XR_NAME_SIZE, XR_NAME_SIZE};
        std::uint32_t* size = sizes;
        return read(name, XR_OK, [&](auto& to) { return api().XrGetOpenFileName(h, index, size++, to.text); });
    }
    int clientAt(std::uint32_t index, XRCLIENTID& id) {
        return read(id, XR_OK, [&](auto& to) { return api().XrGetKesdClientId(h, index, &to); });
    }

    std::int32_t h = XR_LOCAL_ENGINE;
};

TEST_F(Conformance, TellsWhatTheEngineIs) {
    XRKESDVERSION version{};
    EXPECT_EQ(read(version, XR_OK, [&](auto& to) { return api().XrGetKesdVersion(h, &to); }), 0);
    NameBuffer about{};
    std::uint32_t other[3] = {};
    std::uint32_t type = 0xa5a5a5a5;
    const auto get = [&](auto& to) {
        return api().XrGetEngineInformation(h, to.text, &other[0], &other[1], &other[2], &type);
    };
    EXPECT_EQ(read(about, XR_OK, get), 0);
    EXPECT_NE(type, 0xa5a5a5a5);
}

TEST_F(Conformance, EnumeratesFilesAndTheirHandles) {
    std::uint32_t count = 0;
    ASSERT_EQ(api().XrGetOpenFilesData(h, &count), 0);
    for (std::uint32_t index = 0; index < std::min(count, kMostItems); ++index) {
        NameBuffer name{};
        if (nameAt(index, name) != 0) break;
        SCOPED_TRACE(name.text);
        XRFILEINFO info{};
        read(info, XR_FILE_GONE, [&](auto& to) { return api().XrGetFileInfo2(h, name.text, &to); });
        std::uint32_t handles = 0;
        const int status = api().XrGetFileHandlesData(h, name.text, &handles);
        if (status == XR_FILE_GONE) continue;
        ASSERT_EQ(status, 0);
        XRFILEHANDLEINFO handle{};
        for (std::uint32_t i = 0; i < std::min(handles, kMostItems); ++i) {
            const auto get = [&](auto& to) { return api().XrGetFileHandleInfo(h, name.text, i, &to); };
            if (read(handle, XR_FILE_GONE, get) != 0) break;
        }
        EXPECT_EQ(api().XrGetFileHandleInfo(h, name.text, handles, &handle), XR_NO_MORE_ITEMS);
        EXPECT_EQ(api().XrGetFileHandleInfo(h, name.text, UINT32_MAX, &handle), XR_NO_MORE_ITEMS);
    }
    NameBuffer name{};
    EXPECT_EQ(nameAt(count, name), XR_NO_MORE_ITEMS);
    EXPECT_EQ(nameAt(UINT32_MAX, name), XR_NO_MORE_ITEMS);
    EXPECT_EQ(api().XrFreeOpenFilesData(h), 0);
}

TEST_F(Conformance, EnumeratesClientsAndTheirHandles) {
    std::uint32_t count = 0;
    ASSERT_EQ(api().XrGetKesdClientsData(h, &count), 0);
    for (std::uint32_t index = 0; index < std::min(count, kMostItems); ++index) {
        XRCLIENTID id{};
        if (clientAt(index, id) != 0) break;
        SCOPED_TRACE(Describe::of(id));
        XRKESDCLIENTINFO info{};
        read(info, XR_CLIENT_GONE, [&](auto& to) { return api().XrGetKesdClientInfo(h, &id, &to); });
        std::uint32_t handles = 0;
        ASSERT_EQ(api().XrGetKesdClientHandlesData(h, &id, &handles), 0);
        XRKESDCLIENTHANDLEINFO handle{};
        for (std::uint32_t i = 0; i < std::min(handles, kMostItems); ++i) {
            const auto get = [&](auto& to) { return api().XrGetKesdClientHandleInfo(h, &id, i, &to); };
            if (read(handle, XR_CLIENT_GONE, get) != 0) break;
        }
        EXPECT_EQ(api().XrGetKesdClientHandleInfo(h, &id, handles, &handle), XR_NO_MORE_ITEMS);
        EXPECT_EQ(api().XrGetKesdClientHandleInfo(h, &id, UINT32_MAX, &handle), XR_NO_MORE_ITEMS);
    }
    XRCLIENTID id{};
    EXPECT_EQ(clientAt(count, id), XR_NO_MORE_ITEMS);
    EXPECT_EQ(clientAt(UINT32_MAX, id), XR_NO_MORE_ITEMS);
    EXPECT_EQ(api().XrFreeKesdClientsData(h), 0);
}

TEST_F(Conformance, EnumeratesConnections) {
    std::uint32_t count = 0;
    ASSERT_EQ(api().XrGetSQLConnectionsData(h, &count), 0);
    XRSQLCONNINFO info{};
    const auto connectionAt = [&](std::uint32_t index) {
        return read(info, XR_OK, [&](auto& to) { return api().XrGetSQLConnectionInfo2(h, index, &to); });
    };
    for (std::uint32_t index = 0; index < std::min(count, kMostItems); ++index) {
        if (connectionAt(index) != 0) break;
    }
    EXPECT_EQ(connectionAt(count), XR_NO_MORE_ITEMS);
    EXPECT_EQ(connectionAt(UINT32_MAX), XR_NO_MORE_ITEMS);
    EXPECT_EQ(api().XrFreeSQLConnectionsData(h), 0);
}

TEST_F(Conformance, KnowsNoItemsWithoutASnapshot) {
    NameBuffer name{};
    XRCLIENTID id{};
    XRSQLCONNINFO connection{};
    std::uint32_t count = 0;
    ASSERT_TRUE(api().XrGetOpenFilesData(h, &count) == 0 && api().XrFreeOpenFilesData(h) == 0);
    EXPECT_EQ(nameAt(0, name), XR_NO_MORE_ITEMS);
    ASSERT_TRUE(api().XrGetKesdClientsData(h, &count) == 0 && api().XrFreeKesdClientsData(h) == 0);
    EXPECT_EQ(clientAt(0, id), XR_NO_MORE_ITEMS);
    ASSERT_TRUE(api().XrGetSQLConnectionsData(h, &count) == 0 && api().XrFreeSQLConnectionsData(h) == 0);
    EXPECT_EQ(api().XrGetSQLConnectionInfo2(h, 0, &connection), XR_NO_MORE_ITEMS);
}

TEST_F(Conformance, TellsWhoIsNotThere) {
    std::uint32_t count = 0;
    XRFILEINFO info{};
    XRFILEHANDLEINFO handle{};
    ASSERT_EQ(api().XrGetOpenFilesData(h, &count), 0);
    for (const std::string& name : {std::string(), std::string("no such file"), std::string(1023, 'x')}) {
        EXPECT_EQ(api().XrGetFileInfo2(h, name.c_str(), &info), XR_FILE_GONE);
        EXPECT_EQ(api().XrGetFileHandlesData(h, name.c_str(), &count), XR_FILE_GONE);
        EXPECT_EQ(api().XrGetFileHandleInfo(h, name.c_str(), 0, &handle), XR_FILE_GONE);
    }
    api().XrFreeOpenFilesData(h);
    ASSERT_EQ(api().XrGetKesdClientsData(h, &count), 0);
    XRCLIENTID nobody;
    std::memset(&nobody, 0xff, sizeof nobody);
    XRKESDCLIENTINFO client{};
    XRKESDCLIENTHANDLEINFO held{};
    EXPECT_EQ(api().XrGetKesdClientInfo(h, &nobody, &client), XR_CLIENT_GONE);
    EXPECT_EQ(api().XrGetKesdClientHandlesData(h, &nobody, &count), XR_CLIENT_GONE);
    EXPECT_EQ(api().XrGetKesdClientHandleInfo(h, &nobody, 0, &held), XR_CLIENT_GONE);
    api().XrFreeKesdClientsData(h);
}

TEST_F(Conformance, KeepsStatisticsWithinTheirRecords) {
    Guarded<XRKESDUSAGE> usage(0xa5), later(0x5a);
    EXPECT_EQ(api().XrGetKesdUsageEx2(h, &usage.record), 0);
    EXPECT_EQ(api().XrGetKesdUsageEx2(h, &later.record), 0);
    EXPECT_LE(usage.record.engineUptimeSecs, later.record.engineUptimeSecs);
    Guarded<XRKESDCOMMSTAT> stat(0xa5);
    EXPECT_EQ(api().XrGetKesdCommStatEx(h, &stat.record), 0);
    EXPECT_TRUE(usage.isIntact() && later.isIntact() && stat.isIntact());
    ASSERT_LE(stat.record.protocolCount, XR_MAX_PROTOCOLS);
    for (std::uint32_t i = 0; i < stat.record.protocolCount; ++i) {
        EXPECT_NE(stat.record.protocols[i].protocolType, 0xa5a5a5a5) << "protocol " << i << " was not written";
    }
}

TEST_F(Conformance, SurvivesMisuse) {
    std::uint32_t count = 0;
    EXPECT_NE(api().XrGetOpenFilesData(-2, &count), 0);
    EXPECT_NE(api().XrGetOpenFilesData(h, nullptr), 0);
    EXPECT_NE(api().XrGetFileInfo2(h, nullptr, nullptr), 0);
    EXPECT_NE(api().XrGetKesdClientInfo(h, nullptr, nullptr), 0);
    EXPECT_NE(api().XrGetSQLConnectionInfo2(h, 0, nullptr), 0);
    EXPECT_NE(api().XrGetKesdUsageEx2(h, nullptr), 0);
    EXPECT_NE(api().XrGetKesdCommStatEx(h, nullptr), 0);
    api().XrFreeOpenFilesData(h);
    api().XrFreeOpenFilesData(h);
    close();
    close();
    EXPECT_NE(api().XrGetKesdUsageEx2(h, nullptr), 0);
    open();
    EXPECT_EQ(api().XrGetSQLConnectionsData(h, &count), 0) << "a second start has to work like the first";
}

}  // namespace
