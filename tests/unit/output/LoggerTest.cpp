// SPDX-License-Identifier: MIT
#include "output/Logger.h"

#include "Support.h"
#include "output/FormatHelper.h"

namespace {

// What `action` writes on standard output.
template <typename Action>
std::string printed(Action action) {
    const Pipe pipe;
    const FileDescriptor before(::dup(STDOUT_FILENO));
    ::dup2(pipe.out.get(), STDOUT_FILENO);
    action();
    ::dup2(before.get(), STDOUT_FILENO);
    return pipe.arrived();
}

}  // namespace

TEST(Logger, LetsThroughWhatReachesItsThreshold) {
    void (Logger::*const all[])(StringView) = {&Logger::finest, &Logger::finer,   &Logger::fine,  &Logger::config,
                                               &Logger::info,   &Logger::warning, &Logger::severe};
    const std::tuple<StringView, std::size_t> rows[] = {
        {L"new", 8}, {L"ALL", 1}, {L"finest", 1}, {L"Finer", 2}, {L"FINE", 3}, {L"cONFIG", 4}, {L"INFO", 5},
        {L"WARNING", 6}, {L"severe", 7}, {L"OFF", 8}, {L"", 8}};
    for (const auto& [name, lowest] : rows) {
        const auto logger = makeRef<Logger>();
        if (name != L"new") logger->setLevel(name);
        logger->addStdOutHandler();
        std::string wanted;
        for (std::size_t level = lowest; level <= std::size(all); ++level) wanted += "|" + std::to_string(level) + "\n";
        EXPECT_EQ(printed([&] {
            for (std::size_t level = 1; level <= std::size(all); ++level) (*logger.*all[level - 1])(decimal(level));
        }), wanted) << String(name);
    }
}

TEST(Logger, WritesEachLineOnceToEveryHandler) {
    const auto logger = makeRef<Logger>();
    logger->setLevel(Level::kAll);
    logger->info(L"to no handler");
    logger->addStdOutHandler();
    std::ofstream("log") << "old";
    logger->addFileHandler(L"log");
    logger->addFileHandler(widen(std::filesystem::absolute("a/b/log").native()));
    EXPECT_EQ(printed([&] { logger->info(L"one"), logger->info(L"two"); }), "|one\n|two\n");
    EXPECT_EQ(contents("log") + contents("a/b/log"), "one\ntwo\none\ntwo\n");
    std::filesystem::resize_file("log", 0);  // as a rotation does behind its copy
    logger->addFileHandler(L"/dev/full");
    String failed;
    EXPECT_EQ(printed([&] { failed = failure([&] { logger->info(L"three"); }); }), "|three\n");
    EXPECT_EQ(failed, L"IOException: /dev/full: No space left on device");
    EXPECT_EQ(contents("log"), "three\n");
}

TEST(Logger, TellsWhyAFileCannotBeCreated) {
    std::filesystem::create_directories("dir/closed");
    std::ofstream("file") << "";
    const String here = widen(std::filesystem::current_path().native());
    const std::tuple<String, String> rows[] = {
        // Established output: a refused access gives no reason.
        {L"dir", L"IOException: uncreatable " + here + L"/dir:  (80070005)"},
        {L"dir/closed", L"IOException: uncreatable dir/closed:  (80070005)"},
        {L"dir/closed/a/log", L"IOException: uncreatable dir/closed/a/log:  (80070005)"},
        {L"file/log", L"IOException: uncreatable file/log: not found (80070002)"},
        {L"", L"IOException: uncreatable " + here + L"/: not found (80070002)"}};
    becomeNobody();
    const auto logger = makeRef<Logger>("VEXO", "VEXO_");
    for (const auto& [path, failed] : rows) {
        EXPECT_EQ(failure([&, name = path] { logger->addFileHandler(name); }), failed);
    }
    EXPECT_EQ(failure([&] { logger->throwError(kOutOfMemory, L"x"); }), concat(L"ResultException: ", kOutOfMemory));
}

TEST(FormatHelper, LaysOutLines) {
    const auto logger = makeRef<Logger>();
    logger->addStdOutHandler();
    FormatHelper format(logger);
    const auto putAll = [&] {
        format.putData(L"data", 2);
        format.putPieces({L"a", -1, String(L"b")}, -1);
        format.putHeader(L"Gr\u00F6\u00DFe", 1);
        format.putHeader(L"", 1);
        format.putError(L"x");
    };
    format.setLevel(Level::kSevere);
    EXPECT_EQ(printed(putAll), "|ERROR! - x\n");
    format.setLevel(Level::kAll);
    EXPECT_EQ(printed(putAll), "|\t\tdata\n|a-1b\n|\t=====\n|\tGR\xC3\x96\xC3\x9F" "E\n|\t=====\n|\t\n|\t\n|\t\n|ERROR! - x\n");
    String text = L"\u00E4bc";
    FormatHelper::padToLen(text, 2);
    FormatHelper::padToLen(text, -1);
    EXPECT_EQ(text, L"\u00E4bc");
    FormatHelper::padToLen(text, 5);
    EXPECT_EQ(concat(text, FormatHelper::getTabStr(2), FormatHelper::getTabStr(-3)), L"\u00E4bc  \t\t");
}
