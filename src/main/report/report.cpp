// SPDX-License-Identifier: MIT
// vexo-report: a page, JSON lines or tables of what was recorded.
#include <algorithm>
#include <filesystem>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/TextWriter.h"
#include "history/HistoryCheck.h"
#include "history/HistoryFile.h"
#include "main/companion/Companion.h"
#include "main/companion/ErrorStream.h"
#include "main/companion/Options.h"
#include "main/report/FileBeside.h"
#include "main/report/ReportOptions.h"
#include "main/report/StopSignals.h"
#include "messages/MessageHelper.h"
#include "output/Version.h"
#include "record/PointInTime.h"
#include "record/RecordCollector.h"
#include "report/Page.h"
#include "report/RecordWalk.h"
#include "report/ReportReader.h"
#include "sink/CsvSink.h"
#include "sink/OutputFile.h"
#include "sink/SinkText.h"

namespace vexo {
namespace {

using Out = Ref<TextWriter>;

// Tells why there is nothing to be made.
[[noreturn]] void failEmpty(const MessageHelper& messages, const ReportOptions& options) {
    const char* const path = options.history.c_str();
    const auto whole = wholeSpan(options.history);
    if (!whole) throw HistoryException(messages.getResStr("ERR_EMPTY", path));
    const std::string from = localTime(options.fromMs.value_or(whole->earliestMs));
    const std::int64_t last = std::max(whole->latestMs, options.fromMs.value_or(whole->latestMs));
    const std::string to = localTime(options.toMs.value_or(last));
    throw HistoryException(
        messages.getResStr("ERR_SPAN", path, from.c_str(), to.c_str(), std::to_string(whole->records).c_str(),
                           localTime(whole->earliestMs).c_str(), localTime(whole->latestMs).c_str()));
}

// Tells which records could not be read, and gives the status.
int tellLost(const std::vector<RecordRange>& damage) {
    for (const RecordRange& lost : damage)
        tell(narrow(
            historyMessage("ERR_HISTORY_LOST", std::to_string(lost.first).c_str(), std::to_string(lost.last).c_str())));
    return damage.empty() ? kEnded : kUnreadable;
}

int makePage(const ReportOptions& options, const HistorySpan& span) {
    ReportData data = readReport(options.history, span);
    data.historyName = std::filesystem::path(options.history).filename().string();
    data.fromMs = options.fromMs;
    data.toMs = options.toMs;
    data.madeMs = RecordClocks::systemEpochMs();
    data.madeBy = narrow(MessageHelper("REPORT", "REPORT_").getResStr("NAME", kProgramVersion));
    const std::vector<RecordRange> damage = data.damage;
    const std::string page = makePage(std::move(data));
    FileBeside(*options.page).make([&page](const std::string& path) {
        OutputFile out(path, FifoReader::kIsAwaited);
        out.open();
        out.append(page);
    });
    return tellLost(damage);
}

void exportLines(RecordWalk& records, const std::string& path) {
    OutputFile out(path, FifoReader::kIsAwaited);
    out.open();
    std::string lines;
    for (; records.appendNext(lines); lines.clear()) {
        heedStopSignals();
        out.append(lines);
    }
}

void exportTables(RecordWalk& records, const std::string& path, CsvFormulas formulas) {
    CsvSink sink(path, formulas);
    sink.open();
    while (const RecordPtr record = records.next()) {
        heedStopSignals();
        sink.write(record);
    }
    sink.close();
}

// Writes all records of the span.
int exportRecords(const ReportOptions& options, const HistorySpan& span) {
    RecordWalk records(options.history, {span.first.number, span.last.number});
    FileBeside(options.ndjson ? *options.ndjson : *options.csv).make([&](const std::string& path) {
        if (options.ndjson) return exportLines(records, path);
        exportTables(records, path, options.csvFormulas);
    });
    return tellLost(records.lost());
}

int check(const MessageHelper& messages, const ReportOptions& options) {
    const HistoryCheck result = checkHistory(options.history);
    for (const String& finding : result.findings)
        printLines({finding});
    printLines({messages.getResStr(result.findings.empty() ? "CHECK_SOUND" : "CHECK_DAMAGED", options.history.c_str(),
                                   std::to_string(result.records).c_str())});
    return result.findings.empty() ? kEnded : kUnreadable;
}

int backUp(const ReportOptions& options) {
    noteStopSignals();
    try {
        backUpHistory(options.history, *options.backup, wasStopped);
    } catch (const CopyException& error) {
        heedStopSignals();
        tell(narrow(error.message()));
        return kRefused;
    }
    return kEnded;
}

// A history is not to be replaced by what is made of it.
void examineTarget(const ReportOptions& options) {
    for (const auto& target : {options.page, options.ndjson}) {
        for (const std::string& file : {options.history, walOf(options.history), shmOf(options.history)}) {
            std::error_code isMissing;
            if (target && std::filesystem::equivalent(*target, file, isMissing))
                refuseFrom("REPORT", "ERR_ITSELF", target->c_str());
        }
    }
}

int run(int argc, char** argv) {
    const MessageHelper messages("REPORT", "REPORT_");
    const auto given = readReportOptions(argc, argv);
    if (!given) return kEnded;
    const ReportOptions& options = *given;
    examineTarget(options);
    if (options.check) return check(messages, options);
    if (options.backup) return backUp(options);
    const auto span = findSpan(options.history, options.fromMs, options.toMs);
    if (!span) failEmpty(messages, options);
    return options.page ? makePage(options, *span) : exportRecords(options, *span);
}

// The same for a history that cannot be read.
int runOnHistory(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const HistoryException& error) {
        tell(narrow(error.message()));
        return kUnreadable;
    } catch (const StoppedBySignal&) {
        endBySignal();
    }
}

}  // namespace
}  // namespace vexo

int main(int argc, char** argv) {
    return vexo::runCompanion("vexo-report", vexo::runOnHistory, argc, argv);
}
