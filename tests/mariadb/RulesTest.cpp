// SPDX-License-Identifier: MIT
// The rules by which values of a MariaDB server become fields of records; no server is needed.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "ClientText.h"
#include "LockRules.h"
#include "Names.h"
#include "OptionFile.h"
#include "ServerText.h"

using namespace xr;
using namespace xr::mariadb;

TEST(MariadbOptionFile, EveryMentionOfTlsCountsAndIncludesAreSeen) {
    for (const char* line :
         {"ssl", "ssl=0", "skip-ssl", "disable_ssl", "loose-ssl-ca=x", "\t SSL_CA = x", "ssl-verify-server-cert=0",
          "ssl-c=x", "tls-peer-fp=1", "tls_version", "connection=host=h;ssl_ca=x"}) {
        EXPECT_TRUE(namesTlsOption(line)) << line;
    }
    for (const char* line : {"", "# ssl", " ;ssl-ca=x", "[ssl]", "password=ssl", "host = tls.example"}) {
        EXPECT_FALSE(namesTlsOption(line)) << line;
    }
    std::istringstream lines("[vexo]\nuser=x\n \t!include /etc/my.cnf\n");
    EXPECT_TRUE(readOptionFile(lines).includes);
    std::istringstream returns("[vexo]\rssl-ca=x\r!include y");
    const OptionFileContents contents = readOptionFile(returns);
    EXPECT_TRUE(contents.tls && contents.includes);
}

TEST(MariadbClientText, SplitsClientAddressesAtTheLastColon) {
    const struct {
        const char* text;
        const char* host;
        bool unixSocket;
        bool loopback;
    } rows[] = {
        {"localhost", "localhost", true, true},
        {"localhost:5", "localhost", false, true},
        {"::1:44534", "::1", false, true},
        {"127.9.0.1:1", "127.9.0.1", false, true},
        {"::ffff:127.0.0.1:7", "::ffff:127.0.0.1", false, true},
        {"10.0.0.127:1", "10.0.0.127", false, false},
        {"cut.at.64.charac", "cut.at.64.charac", false, false},
    };
    for (const auto& row : rows) {
        const ClientAddress address = splitClientAddress(row.text);
        EXPECT_EQ(address.host, row.host);
        EXPECT_EQ(address.unixSocket, row.unixSocket) << row.text;
        EXPECT_EQ(isLoopback(address.host), row.loopback) << row.text;
    }
}

TEST(MariadbNames, FindTheTableOfAFile) {
    const struct {
        const char* path;
        const char* key;
        const char* tablespace;
    } rows[] = {
        {"/data/shop/items.ibd", "shop/items", "shop/items.ibd"},
        {"./shop/parts#P#p0#SP#s1.ibd", "shop/parts", "shop/parts#P#p0#SP#s1.ibd"},
        {"/other/shop/a@0060b@0020@0p.MYI", "shop/a@0060b@0020@0p", "shop/a@0060b@0020@0p.MYI"},
        {".//undo001", "", "undo001"},
        {"/data/prn@@@/aux@@@#P#p0.ibd", "prn/aux", "prn@@@/aux@@@#P#p0.ibd"},
        {"/data/ibdata1", "", "ibdata1"},
        {"/data/binlog.000001", "", "binlog.000001"},  // or a table of a schema "data" would own it
        {"items.ibd", "", "items.ibd"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(tableKey(row.path), row.key) << row.path;
        EXPECT_EQ(tablespaceKey(row.path), row.tablespace) << row.path;
    }
    EXPECT_EQ(absolutePath(".//undo001", "/data/"), "/data/undo001");
    EXPECT_EQ(absolutePath("/far/x.ibd", "/data/"), "/far/x.ibd");
    EXPECT_LT(fileRank("t.MYD"), fileRank("t.MYI"));

    EXPECT_EQ(quotedName("a`b", "c"), "`a``b`.`c`");
    EXPECT_EQ(withoutPartition("`a`.`b` /* Partition `p1`, Subpartition `s` */"), "`a`.`b`");
    EXPECT_EQ(withoutPartition("`a`.`b /* Partition c`"), "`a`.`b /* Partition c`");
    EXPECT_EQ(unquoted("`a``b`.`c`"), "a`b.c");
    EXPECT_EQ(partitionKey("./shop/parts#P#p0#SP#s1.ibd"), "shop/parts#P#p0#SP#s1");
    EXPECT_EQ(partitionKey("./shop/aux@@@.ibd"), "");
}

TEST(MariadbLockRules, GiveModeAndStateCodes) {
    const struct {
        const char* lock;
        int transactional;
        int other;
    } modes[] = {{"SHARED_HIGH_PRIO", 254, 246},  {"SHARED_READ_ONLY", 254, 246},     {"MDL_SHARED_UPGRADABLE", 0, 248},
                 {"SHARED_NO_WRITE", 0, 248},     {"SHARED_NO_READ_WRITE", 252, 244}, {"MDL_EXCLUSIVE", 252, 244},
                 {"OF_A_LATER_VERSION", 254, 246}};
    for (const auto& row : modes) {
        EXPECT_EQ(openMode(lockStrength(row.lock), true), row.transactional) << row.lock;
        EXPECT_EQ(openMode(lockStrength(row.lock), false), row.other) << row.lock;
    }
    EXPECT_EQ(rowLocks(2, true), 1U) << "the awaited one is counted by the engine";
    EXPECT_EQ(rowLocks(0, true), 0U);
    EXPECT_EQ(transactionState(true, true), 19);
    EXPECT_EQ(transactionState(false, true), 1019);
    EXPECT_EQ(connectionStatus("Sleep"), 0);
    EXPECT_EQ(connectionStatus("Query"), 1);
    EXPECT_EQ(connectionStatus("Killed"), 2);
}
