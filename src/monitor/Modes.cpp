// SPDX-License-Identifier: MIT
// The two modes that write more than one record: on a timer, and on a key press.
#include <algorithm>

#include "monitor/KeyReader.h"
#include "monitor/Keys.h"
#include "monitor/MonitorProcessor.h"

namespace vexo {
namespace {

constexpr std::int64_t kRefreshUnitMs = 1000;  // the refresh rate is in seconds

// The longest sleep before the stop flag is looked at again.
constexpr std::int64_t kSleepSliceMs = 3000;

}  // namespace

void MonitorProcessor::incrementalSleep(std::int64_t milliseconds) {
    while (milliseconds > 0 && !stopRequested()) {
        const std::int64_t slice = std::min(milliseconds, kSleepSliceMs);
        sleepUnlessSignalled(slice);
        milliseconds -= slice;
    }
}

void MonitorProcessor::processMonitorRequestsUntilStopped(bool json) {
    const auto prompt = TextWriter::onStandardOutput(TextWriter::Flushing::kAfterEveryLine);
    const std::int32_t limit = m_configuration->refreshLimit;
    const bool limited = limit != 0;
    // With a limit the keyboard is not read at all.
    Ref<UserInputThreadArgs> input;
    if (!limited) input = startUserInputThread(TextWriter::onStandardOutput(TextWriter::Flushing::kAfterEveryLine));
    const std::int64_t interval = m_configuration->refreshRate * kRefreshUnitMs;
    const String promptText =
        limited ? m_messages->getResStr("INFO_EXIT_W_LIMIT", limit) : m_messages->getResStr("INFO_EXIT") + L" ";

    std::int32_t count = 0;
    bool stop = s_stopped;  // a signal alone does not cost the run its first record
    while (!stop) {
        processMonitorRequests(json);
        ++count;
        if (limited && count >= limit) s_stopped = true;
        // Established output: the prompt goes to standard output in JSON too, between the records.
        if (m_configuration->consoleOutput) {
            prompt->writeLine(L"");
            prompt->write(promptText);
            prompt->writeLine(limited ? concat(L"  (", count, L" of ", limit, L")") : L" ");
        }
        incrementalSleep(interval);
        stop = stopRequested();
    }
    if (input) raiseInputFailure(*input);
}

void MonitorProcessor::processMonitorRequestManually(bool json) {
    processMonitorRequests(json);
    const auto prompt = TextWriter::onStandardOutput(TextWriter::Flushing::kAfterEveryLine);
    prompt->writeLine(L"");
    prompt->writeLine(m_messages->getResStr("INFO_EXIT_REFRESH"));

    int reads = 0;
    int badReads = 0;
    KeyReader keys(*m_messages);
    while (const std::optional<int> next = keys.next()) {
        const int key = *next;
        if (isKey(key, 'Q')) return prompt->writeLine(m_messages->getResStr("MSG_EXIT"));
        if (isKey(key, 'R')) {
            processMonitorRequests(json);
            prompt->writeLine(L"");
            // Established output: unlike the first prompt, the later ones do not end their line.
            prompt->write(m_messages->getResStr("INFO_EXIT_REFRESH"));
            prompt->flush();
        }
        // Never set back here: a terminal that has gone delivers nothing else.
        if (isBadRead(key) && ++badReads > kMaxBadReads) {
            return prompt->writeLine(m_messages->getResStr("ERR_INTERACTIVE_INPUT"));
        }
        // Counts characters, not records; the Enter key is one too.
        ++reads;
        if (m_configuration->refreshLimit > 0 && reads >= m_configuration->refreshLimit) {
            return prompt->writeLine(m_messages->getResStr("MSG_EXIT"));
        }
    }
}

}  // namespace vexo
