// SPDX-License-Identifier: MIT
// The rules by which values of a PostgreSQL server become fields of records; no server is needed.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Locks.h"
#include "Names.h"
#include "Statuses.h"

using namespace xr;
using namespace xr::postgres;

namespace {

constexpr std::uint32_t kDatabase = 5;
constexpr std::uint32_t kOwnPid = 99;

// "pid type object mode": a relation by its number, "relation:row" for the place of a row, a transaction, or any other
// number; the mode by its strength, with "!" behind it where it is awaited. Instead of a pid, "v8" is a prepared
// transaction by the virtual one.
LockRow toLock(const std::string& text) {
    std::istringstream words(text);
    std::string owner, type, object, mode;
    words >> owner >> type >> object >> mode;
    LockRow lock;
    lock.tag.type = lockType(type);
    const auto number = static_cast<std::uint32_t>(std::stoul(object));
    const std::size_t colon = object.find(':');
    if (lock.tag.type <= LockType::kTuple) {
        lock.tag.database = kDatabase;
        lock.tag.relation = number;
        if (colon != std::string::npos)
            lock.tag.tuple = static_cast<std::uint32_t>(std::stoul(object.substr(colon + 1)));
    } else {
        (lock.tag.type == LockType::kTransaction ? lock.tag.transaction : lock.tag.objectId) = number;
    }
    lock.owner = owner;
    if (owner[0] != 'v') lock.pid = static_cast<std::uint32_t>(std::stoul(owner));
    lock.strength = static_cast<Strength>(mode[0] - '0');
    lock.granted = mode.back() != '!';
    return lock;
}

Process process(std::uint32_t pid, std::uint32_t leader, const char* type) {
    Process process;
    process.pid = pid;
    process.leader = leader;
    process.type = type;
    process.inTransaction = leader != 3;
    return process;
}

// Clients 1 to 4, of which 3 is in no transaction; 5 works for 1, 98 for the monitor; prepared transactions 900, 901.
Activity activityWith(const std::string& locks) {
    Activity activity;
    std::istringstream lines(locks);
    for (std::string line; std::getline(lines, line, ';');)
        activity.locks.push_back(toLock(line));
    for (std::uint32_t pid = 1; pid <= 4; ++pid)
        activity.processes.push_back(process(pid, pid, "client backend"));
    activity.processes.push_back(process(5, 1, "parallel worker"));
    activity.processes.push_back(process(6, 6, "autovacuum worker"));
    activity.processes.push_back(process(98, kOwnPid, "parallel worker"));
    activity.processes.push_back(process(kOwnPid, kOwnPid, "client backend"));
    activity.prepared = {{901, "b", "", ""}, {900, "a", "", ""}};
    // Tables 10 and 11, an index, a partitioned table; 40 is unknown.
    for (const auto& [number, kind] : {std::pair{10U, 'r'}, {11U, 'r'}, {20U, 'i'}, {30U, 'p'}})
        activity.relations[{kDatabase, number}].kind = kind;
    return activity;
}

// "session object mode locks wait state", all handles.
std::string show(const LockPicture& picture) {
    std::string shown;
    for (const Handle& handle : picture.handles) {
        const LockSession& session = picture.sessions[handle.session];
        const LockTag& tag = picture.objects[handle.object];
        shown += shown.empty() ? "" : "|";
        shown += session.process ? std::to_string(session.process->pid) : session.prepared->gid;
        shown += " " + std::to_string(tag.relation + tag.transaction + tag.objectId) + " " +
                 std::to_string(handle.openMode) + static_cast<char>(handle.recordLockType) +
                 std::to_string(static_cast<int>(handle.waitState)) + " " + std::to_string(handle.transactionState);
    }
    return shown;
}

}  // namespace

TEST(PostgresLocks, BecomeHandlesOfBothEndsOfAWait) {
    const struct {
        const char* what;
        const char* locks;
        const char* handles;
    } rows[] = {
        {"the ticket tells the table, also where the holder has no lock on it",
         "1 transactionid 700 7;1 relation 10 3;2 relation 10 3;2 relation 11 2;2 tuple 11:4 7;2 transactionid 700 5!",
         "1 10 0?0 1019|1 11 0S0 1019|2 10 0N0 1019|2 11 0S1 1019"},
        {"two rows of one table",
         "1 transactionid 700 7;2 tuple 11:4 7;2 transactionid 700 5!;4 tuple 11:5 7;4 transactionid 700 5!",
         "1 11 0M0 1019|2 11 0S1 1019|4 11 0S1 1019"},
        {"the only table in common, and no index",
         "1 transactionid 700 7;1 relation 10 3;1 relation 11 3;1 relation 20 3;2 relation 10 2;2 relation 20 3;"
         "2 transactionid 700 5!",
         "1 10 0S0 1019|1 11 0?0 1019|1 20 0N0 1019|2 10 0N1 1019|2 20 0N0 1019"},
        {"a stronger lock on it does not hide that",
         "1 transactionid 700 7;1 relation 10 3;1 relation 10 4;2 relation 10 3;2 transactionid 700 5!",
         "1 10 240S0 1019|2 10 0N1 1019"},
        {"a table of an unknown kind", "1 transactionid 700 7;1 relation 40 3;2 relation 40 3;2 transactionid 700 5!",
         "1 40 0S0 1019|2 40 0N1 1019"},
        {"two tables in common",
         "1 transactionid 700 7;1 relation 10 3;1 relation 30 3;2 relation 10 3;2 relation 30 3;2 transactionid 700 5!",
         "1 10 0?0 1019|1 30 0N0 1019|1 700 252N0 19|2 10 0N0 1019|2 30 0N0 1019|2 700 238N1 1019"},
        {"a holder that has gone", "2 relation 10 3;2 transactionid 700 5!", "2 10 0N0 1019|2 700 238N1 1019"},
        {"a queue for a row", "1 tuple 10:4 7;2 relation 10 3;2 tuple 10:4 7!", "1 10 0S0 1019|2 10 0N1 1019"},
        {"a queue for a table, and a session outside of transactions",
         "1 relation 10 1;2 relation 10 1;2 relation 10 8!;3 relation 10 3!;4 relation 10 8",
         "1 10 254N0 1019|2 10 252N2 1019|3 10 0N2 0|4 10 252N0 19"},
        {"room in a table, and in no table", "1 extend 10 7!;2 frozenid 0 7!", "1 10 0N2 1019|2 0 252N2 1019"},
        {"what is awaited has all its holders, what is not has none",
         "1 advisory 77 7;1 advisory 78 7;2 advisory 77 7!;4 spectoken 3 5!;1 virtualxid 7 7",
         "1 77 252N0 19|2 77 252N2 1019|4 3 238N1 1019"},
        {"parallel workers belong to their leader; ours is left out, as are the processes that have gone",
         "1 relation 10 1;5 relation 10 1;5 relation 11 1;98 relation 10 1;7 relation 10 8;2 relation 10 8!",
         "1 10 254N0 1019|1 11 254N0 1019|2 10 252N2 1019"},
        {"prepared transactions by their former virtual ones, behind the server's own processes",
         "v8 transactionid 900 7;v8 relation 10 3;v9 transactionid 901 7;v9 relation 11 3;v7 transactionid 902 7;"
         "v7 relation 11 8;2 tuple 10:1 7;2 transactionid 900 5!;6 relation 11 4",
         "2 10 0S1 1019|6 11 240N0 1019|a 10 0S0 1019|b 11 0?0 1019"},
        {"savepoints", "1 transactionid 700 7;1 transactionid 701 7;2 tuple 10:1 7;2 transactionid 701 5!",
         "1 10 0S0 1019|2 10 0S1 1019"},
    };
    for (const auto& row : rows) {
        const Activity activity = activityWith(row.locks);
        EXPECT_EQ(show(joinLocks(activity, kOwnPid)), row.handles) << row.what;
    }
}

TEST(PostgresLocks, AreCountedForTheirSessions) {
    const Activity activity =
        activityWith("1 relation 10 8;1 virtualxid 3 7;1 tuple 10:1 7;5 relation 10 1;2 relation 10 1!");
    const LockPicture picture = joinLocks(activity, kOwnPid);
    ASSERT_EQ(picture.sessions.size(), 4U) << "clients without a handle are sessions, too";
    EXPECT_EQ(picture.sessions[0].locksUsed, 3U);
    EXPECT_EQ(picture.sessions[0].transactionState, kExclusiveLock);
    EXPECT_EQ(picture.sessions[1].locksUsed, 0U);
    EXPECT_EQ(picture.sessions[3].handleCount, 0U);
}

TEST(PostgresLocks, TellOfTransactionsWhereTheServerKeepsNoTrack) {
    Activity activity = activityWith("1 virtualxid 3 7;1 relation 10 3;3 virtualxid 4 7;2 virtualxid 3 5!");
    for (const std::size_t client : {0U, 1U}) {
        activity.processes[client].state = "disabled";
        activity.processes[client].inTransaction = false;
    }
    const LockPicture picture = joinLocks(activity, kOwnPid);
    EXPECT_TRUE(picture.sessions[0].inTransaction);
    EXPECT_FALSE(picture.sessions[1].inTransaction) << "waits for another's";
    EXPECT_FALSE(picture.sessions[2].inTransaction) << "its state counts";
}

TEST(PostgresNames, StayUnique) {
    const Databases databases = {{5, "shop"}, {6, "a.b#\""}};
    const auto name = [&](std::uint32_t database, const char* schema, const char* table) {
        LockTag tag;
        tag.database = database;
        tag.relation = 77;
        const Relation relation{schema, table, 'r', 0};
        return relationName(tag, databases, *table == '\0' ? nullptr : &relation);
    };
    EXPECT_EQ(name(5, "public", "items"), "shop.public.items");
    EXPECT_EQ(name(0, "pg_catalog", "pg_class"), "pg_catalog.pg_class");
    EXPECT_EQ(name(5, "", ""), "shop.#77");
    EXPECT_EQ(name(9, "", ""), "#9.#77");
    EXPECT_EQ(name(5, "s", "a.b\\\n"), "shop.s.a?b??#5/77");
    EXPECT_EQ(name(5, "s", "a#"), "shop.s.a##5/77");
    EXPECT_EQ(name(6, "", ""), "a?b#?.#77#6/77");

    const auto object = [&](const LockTag& one) { return objectName(one, databases); };
    LockTag tag;
    tag.database = 5;
    tag.type = LockType::kAdvisory;
    tag.objectId = 77;
    tag.objectSubId = 1;
    EXPECT_EQ(object(tag), "shop: advisory lock 77");
    tag.classId = tag.objectId = 0xFFFFFFFF;
    EXPECT_EQ(object(tag), "shop: advisory lock -1") << "as the application gave it";
    tag.objectSubId = 2;
    EXPECT_EQ(object(tag), "shop: advisory lock -1,-1");
    tag.type = LockType::kObject;
    tag.classId = 1255;
    tag.objectId = 16466;
    tag.objectSubId = 0;
    EXPECT_EQ(object(tag), "shop: object 1255/16466");
    tag = {LockType::kOther, 0, 0, 0, 0, 12, 0, 0, 0, "", "applytransaction"};
    EXPECT_EQ(object(tag), "applytransaction 12");
}

TEST(PostgresNames, TellSessionsApart) {
    const struct {
        const char* type;
        const char* user;
        const char* address;
        const char* name;  // in 20 bytes
    } rows[] = {
        {"client backend", "anna", "10.0.0.1", "anna@10.0.0.1:4711"},
        {"client backend", "a long name", "::1", "a long n@[::1]:4711"},
        {"client backend", "\"\xff", "", "??@[local]:8"},
        {"walsender", "copy", "", "copy@[local]:8"},
        {"autovacuum worker", "", "", "autovacuum worker:8"},
    };
    for (const auto& row : rows) {
        Process one = process(8, 8, row.type);
        one.user = row.user;
        one.address = row.address;
        one.port = "4711";
        LockSession session;
        session.process = &one;
        EXPECT_EQ(sessionName(session, 20), row.name);
        EXPECT_EQ(isLocal(one), one.address != "10.0.0.1") << row.name;
    }
    PreparedTransaction prepared{775, "gid1", "", ""};
    LockSession session;
    session.prepared = &prepared;
    EXPECT_EQ(sessionName(session, 20), "prepared gid1");
    prepared.gid = "of many bytes that tell nothing";
    EXPECT_EQ(sessionName(session, 20), "prepared of ma #775");
}

TEST(PostgresStatuses, FollowFromTheServersCodes) {
    const struct {
        const char* code;
        int connecting;
        int later;
    } rows[] = {{"", 5001, 5000},      {"28P01", 5002, 5002}, {"3D000", 5003, 5003}, {"42501", 5003, 5000},
                {"53300", 5004, 5004}, {"57P03", 5005, 5005}, {"57P01", 5006, 5006}, {"08006", 5006, 5006},
                {"08P01", 5012, 5006}, {"42704", 5012, 5000}, {"55000", 5003, 5000}, {"55P03", 5009, 5009},
                {"57014", 5010, 5010}, {"XX000", 5000, 5000}};
    for (const auto& row : rows) {
        EXPECT_EQ(statusOfConnecting(row.code), row.connecting) << row.code;
        EXPECT_EQ(statusOfStatement(row.code), row.later) << row.code;
    }
    const Refusal refused = toRefusal(
        "connection to server at \"x\", port 1 failed: FATAL:  28P01: no, \"a:  b\"\nLOCATION:  auth_failed, "
        "auth.c:334\n");
    EXPECT_EQ(refused.sqlState, "28P01");
    EXPECT_EQ(refused.reason, "connection to server at \"x\", port 1 failed: FATAL:  28P01: no, \"a:  b\"");
    EXPECT_EQ(toRefusal("port 1 failed: Connection REFUSED\n\tIs it there?\n").reason,
              "port 1 failed: Connection REFUSED. Is it there?");
    for (const char* text : {"", ":  28P01", "failed:  REFUSED: no", ":  28p01: no"})
        EXPECT_EQ(toRefusal(text).sqlState, "") << text;
}
