// SPDX-License-Identifier: MIT
// vexo-agent: records what an engine does.
#include <unistd.h>

#include <algorithm>
#include <new>

#include "config/ConfigFileReader.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/Piece.h"
#include "foundation/Process.h"
#include "foundation/TextWriter.h"
#include "main/agent/AgentOptions.h"
#include "main/agent/Recorder.h"
#include "main/agent/SettingsCheck.h"
#include "main/companion/ErrorStream.h"
#include "messages/MessageHelper.h"
#include "output/Version.h"
#include "sink/SinkText.h"

namespace vexo {
namespace {

void printHelp(const MessageHelper& messages) {
    const auto out = TextWriter::onStandardOutput(TextWriter::Flushing::kByHand);
    for (const char* part : {"HELP_USAGE", "HELP_SINKS", "HELP_SAMPLING", "HELP_HISTORY", "HELP_OTHER"})
        out->writeLine(messages.getResStr(part));
    out->flush();
}

void printVersion(const MessageHelper& messages) {
    const auto out = TextWriter::onStandardOutput(TextWriter::Flushing::kAfterEveryLine);
    out->writeLine(messages.getResStr("NAME", kProgramVersion));
}

// One line for each finding, in the form that editors and compilers use.
int printCheck(const MessageHelper& messages, const String& path) {
    const auto out = TextWriter::onStandardOutput(TextWriter::Flushing::kByHand);
    const std::vector<Finding> findings = checkSettings(path);
    for (const Finding& finding : findings) {
        const String place = finding.line != 0 ? concat(path, L":", finding.line) : path;
        const char* const weight = finding.changesMeaning ? "CHECK_ERROR" : "CHECK_NOTE";
        out->writeLine(concat(place, L": ", messages.getResStr(weight), L": ", finding.text));
    }
    if (findings.empty()) out->writeLine(messages.getResStr("CHECK_NOTHING", narrow(path).c_str()));
    out->flush();
    const bool changed =
        std::any_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.changesMeaning; });
    return changed ? kRefused : kEnded;
}

int run(int argc, char** argv) {
    const MessageHelper messages("AGENT", "AGENT_");
    const AgentOptions options = readAgentOptions(argc, argv);
    if (options.help) {
        printHelp(messages);
        return kEnded;
    }
    if (options.version) {
        printVersion(messages);
        return kEnded;
    }
    const String path = widen(options.settings);
    if (options.check) return printCheck(messages, path);
    const auto configuration = ConfigFileReader(path).readConfiguration();
    return Recorder(options, *configuration).run();
}

int runAndReport(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const OptionException& error) {
        tell(narrow(error.message()));
        tell(narrow(MessageHelper("OPTIONS", "OPTIONS_").getResStr("SEE_HELP", "vexo-agent")));
    } catch (const Exception& error) {
        tell(narrow(reasonOf(error)));
    }
    return kRefused;
}

// Memory may also run out while another failure is reported.
int runWithMemory(int argc, char** argv) {
    try {
        return runAndReport(argc, argv);
    } catch (const std::bad_alloc&) {
        tell("Out of memory");
        return kRefused;
    }
}

}  // namespace
}  // namespace vexo

int main(int argc, char** argv) {
    vexo::prepareProcess();
    return vexo::runWithMemory(argc, argv);
}
