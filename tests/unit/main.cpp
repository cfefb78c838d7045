// SPDX-License-Identifier: MIT
#include <sys/stat.h>

#include <clocale>

#include "Support.h"
#include "monitor/StopSignals.h"

// Every test starts in a directory of its own and in the same surroundings, whatever the one before did to them.
class Surroundings : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*test*/) override {
        m_directory = ::mkdtemp(std::string(testing::TempDir() + "vexo-XXXXXX").data());
        std::filesystem::current_path(m_directory);
        ::uselocale(LC_GLOBAL_LOCALE);
        std::setlocale(LC_CTYPE, "C.UTF-8");
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
            ::unsetenv(name);
        ::setenv("VEXO_BUNDLE_PATH", VEXO_TEST_TEXTS, 1);
        s_stopped = false;
    }
    void OnTestEnd(const testing::TestInfo& /*test*/) override {
        keepToPermissions(false);
        std::filesystem::permissions(m_directory, std::filesystem::perms::owner_all);
        std::filesystem::remove_all(m_directory);
    }
    std::string m_directory;
};

int main(int argc, char** argv) {
    ::umask(022);
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(std::make_unique<Surroundings>().release());
    return RUN_ALL_TESTS();
}
