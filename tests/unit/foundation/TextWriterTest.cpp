// SPDX-License-Identifier: MIT
#include "foundation/TextWriter.h"

#include "Support.h"

using Flushing = TextWriter::Flushing;

TEST(TextWriter, MakesOneWriteOfAFlushedLine) {
    const Pipe pipe;
    auto writer = makeRef<TextWriter>(pipe.out.get(), L"pipe", Flushing::kAfterEveryLine);
    writer->write(L"a");
    EXPECT_EQ(pipe.arrived(), "");
    writer->writeLine(L"\u00E4");
    writer->flush();
    writer->writeLine(String(4000, L'x'));  // twice what it buffers at first
    EXPECT_EQ(pipe.arrived(), "|a\xC3\xA4\n|" + std::string(4000, 'x') + "\n");
    writer = makeRef<TextWriter>(pipe.out.get(), L"pipe", Flushing::kByHand);
    for (int line = 0; line < 2000; ++line)
        writer->writeLine(L"");
    EXPECT_EQ(pipe.arrived(), "");
    writer = nullptr;
    EXPECT_EQ(pipe.arrived(), "|" + std::string(2000, '\n'));
}

TEST(TextWriter, NamesAFailingTargetAndDropsWhatFailed) {
    const Pipe pipe;
    const FileDescriptor target(::open("/dev/full", O_WRONLY));
    auto writer = makeRef<TextWriter>(target.get(), L"log", Flushing::kAfterEveryLine);
    EXPECT_EQ(failure([&] { writer->writeLine(L"lost"); }), L"StreamException: log: No space left on device");
    ::dup2(pipe.out.get(), target.get());
    writer->writeLine(L"kept");
    EXPECT_EQ(pipe.arrived(), "|kept\n");
    writer = makeRef<TextWriter>(-1, L"closed", Flushing::kByHand);
    writer->write(L"x");
    EXPECT_EQ(failure([&] { writer->flush(); }), L"StreamException: closed: Bad file descriptor");
    writer->write(L"x");
    EXPECT_NO_THROW(writer = nullptr);
}
