// SPDX-License-Identifier: MIT
// vexo-agent: records what an engine does.
#include <algorithm>

#include "config/ConfigFileReader.h"
#include "foundation/Encoding.h"
#include "foundation/Piece.h"
#include "foundation/TextWriter.h"
#include "main/agent/AgentOptions.h"
#include "main/agent/Recorder.h"
#include "main/agent/SettingsCheck.h"
#include "main/companion/Companion.h"
#include "messages/MessageHelper.h"

namespace vexo {
namespace {

// One line for each finding, in the form that editors and compilers use.
int printCheck(const String& path) {
    const MessageHelper messages("AGENT", "AGENT_");
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
    const auto options = readAgentOptions(argc, argv);
    if (!options) return kEnded;
    const String path = widen(options->settings);
    if (options->check) return printCheck(path);
    const auto configuration = ConfigFileReader(path).readConfiguration();
    return Recorder(*options, *configuration).run();
}

}  // namespace
}  // namespace vexo

int main(int argc, char** argv) {
    return vexo::runCompanion("vexo-agent", vexo::run, argc, argv);
}
