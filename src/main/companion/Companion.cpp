// SPDX-License-Identifier: MIT
#include "main/companion/Companion.h"

#include <new>

#include "foundation/Encoding.h"
#include "foundation/Process.h"
#include "foundation/TextWriter.h"
#include "main/companion/ErrorStream.h"
#include "main/companion/Options.h"
#include "messages/MessageHelper.h"
#include "sink/SinkText.h"

namespace vexo {
namespace {

int runAndReport(const char* name, int (*run)(int argc, char** argv), int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const OptionException& error) {
        tell(narrow(error.message()));
        tell(narrow(MessageHelper("OPTIONS", "OPTIONS_").getResStr("SEE_HELP", name)));
    } catch (const Exception& error) {
        tell(narrow(reasonOf(error)));
    }
    return kRefused;
}

}  // namespace

void printLines(const std::vector<String>& lines) {
    const auto out = TextWriter::onStandardOutput(TextWriter::Flushing::kByHand);
    for (const String& line : lines)
        out->writeLine(line);
    out->flush();
}

int runCompanion(const char* name, int (*run)(int argc, char** argv), int argc, char** argv) {
    prepareProcess();
    try {
        return runAndReport(name, run, argc, argv);
    } catch (const std::bad_alloc&) {  // memory may also run out while another failure is reported
        tell("Out of memory");
        return kRefused;
    }
}

}  // namespace vexo
