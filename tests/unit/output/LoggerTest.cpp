// SPDX-License-Identifier: MIT
#include "output/Logger.h"

#include "Support.h"
#include "output/FormatHelper.h"

using namespace vexo;

namespace {

// Runs `action` and gives what it writes on standard output.
template <typename Action>
std::string printed(Action action) {
    const Pipe pipe;
    const FileDescriptor before(::dup(STDOUT_FILENO));
    ::dup2(pipe.out.get(), STDOUT_FILENO);
    action();
    ::dup2(before.get(), STDOUT_FILENO);
    return pipe.arrived();
}

TEST(Logger, LetsThroughWhatReachesItsThreshold) {
    // The first of seven lines, from the finest on, that each lets through.
    const std::pair<const wchar_t*, std::size_t> rows[] = {
        {L"ALL", 0},     {L"finest", 0}, {L"Finer", 1}, {L"FINE", 2}, {L"cONFIG", 3}, {L"INFO", 4},
        {L"WARNING", 5}, {L"severe", 6}, {L"OFF", 7},   {L"", 7},     {nullptr, 7}};
    for (const auto& [name, first] : rows) {
        const auto logger = makeRef<Logger>();
        if (name) logger->setLevel(StringView(name));
        logger->severe(L"to no handler");
        logger->addStdOutHandler();
        const auto logAll = [&] {
            logger->finest(L"1");
            logger->finer(L"2");
            logger->fine(L"3");
            logger->config(L"4");
            logger->info(L"5");
            logger->warning(L"6");
            logger->severe(L"7");
        };
        EXPECT_EQ(printed(logAll), std::string("|1\n|2\n|3\n|4\n|5\n|6\n|7\n").substr(first * 3)) << first;
    }
}

TEST(Logger, WritesEachLineOnceToEveryHandler) {
    const auto logger = makeRef<Logger>();
    logger->setLevel(Level::kAll);
    logger->addStdOutHandler();
    std::filesystem::create_directory("a");
    writeFile("a/log", "old");
    logger->addFileHandler(L"a/log");
    logger->addFileHandler(widen(std::filesystem::current_path().string() + "/b/c/log"));
    EXPECT_EQ(printed([&] { logger->info(L"one"), logger->info(L"two"); }), "|one\n|two\n");
    EXPECT_EQ(contents("a/log") + contents("b/c/log"), "one\ntwo\none\ntwo\n");
    std::filesystem::resize_file("a/log", 0);  // as a rotation does behind its copy
    logger->addFileHandler(L"/dev/full");
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(failure([&] { logger->info(L"three"); }),
                            L"StreamException: /dev/full: No space left on device");
              }),
              "|three\n");
    EXPECT_EQ(contents("a/log"), "three\n");
    std::filesystem::remove_all("a");  // the log stays open, wherever its name has gone
    EXPECT_EQ(printed([&] { EXPECT_NE(failure([&] { logger->info(L"four"); }), L"nothing"); }), "|four\n");
}

TEST(Logger, TellsWhyAFileCannotBeCreated) {
    const String here = widen(std::filesystem::current_path().string());
    std::filesystem::create_symlink("loop", "loop");
    const auto logger = makeRef<Logger>("VEXO", "VEXO_");
    EXPECT_EQ(failure([&] { logger->addFileHandler(L"loop"); }),
              concat(L"ResultException: ", kSystemErrorBase + ELOOP));
    EXPECT_EQ(failure([&] { logger->addFileHandler(L""); }),
              L"IOException: uncreatable " + here + L"/: not found (80070002)");
    // Established output: a refused access gives no reason.
    std::filesystem::current_path("/");
    EXPECT_EQ(failure([&] { logger->addFileHandler(L"etc"); }), L"IOException: uncreatable /etc:  (80070005)");
    EXPECT_EQ(failure([&] { logger->throwError(kOutOfMemory, L"x"); }), concat(L"ResultException: ", kOutOfMemory));
    EXPECT_EQ(failure([&] { makeRef<Logger>()->throwError(kFileNotFound, L"x"); }),
              L"IOException: The resource bundle is not installed");
}

TEST(FormatHelper, LaysOutLines) {
    const auto logger = makeRef<Logger>();
    logger->addStdOutHandler();
    FormatHelper format(logger);
    const auto putAll = [&] {
        format.putData(L"data", 2);
        format.putData(L"", -1);
        format.putPieces({L"a", -1, String(L"b")}, 1);
        format.putHeader(L"Gr\u00F6\u00DFe", 1);
        format.putHeader(L"", 1);
        format.putError(L"x");
    };
    EXPECT_EQ(printed(putAll), "");
    format.setLevel(Level::kSevere);
    EXPECT_EQ(printed(putAll), "|ERROR! - x\n");
    format.setLevel(Level::kAll);
    EXPECT_EQ(printed(putAll),
              "|\t\tdata\n|\n|\ta-1b\n|\t=====\n|\tGR\xC3\x96\xC3\x9F"
              "E\n|\t=====\n|\t\n|\t\n|\t\n|ERROR! - x\n");
    for (const auto& [length, padded] :
         {std::pair(8, L"\u00E4123456789"), {14, L"\u00E4123456789    "}, {-1, L"\u00E4123456789"}}) {
        String text = L"\u00E4123456789";
        FormatHelper::padToLen(text, length);
        EXPECT_EQ(text, padded);
    }
    EXPECT_EQ(FormatHelper::getTabStr(2) + FormatHelper::getTabStr(0) + FormatHelper::getTabStr(-3), L"\t\t");
}

}  // namespace
