// SPDX-License-Identifier: MIT
// The life of one run, and the one place where failures become a message and an exit status.
#include <unistd.h>

#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "config/ConfigException.h"
#include "config/ConfigFileReader.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/Process.h"
#include "main/CommandLine.h"
#include "main/JsonDocument.h"
#include "main/Program.h"
#include "monitor/MonitorProcessor.h"
#include "monitor/StopSignals.h"
#include "output/ErrorLine.h"
#include "output/Version.h"
#include "status/QRIException.h"

namespace vexo {
namespace {

constexpr int kRefused = 1;

void printBanner() {
    s_pw->writeLine(s_vexoMessageHelper->getResStr("NAME", kProgramVersion));
    s_pw->writeLine(s_vexoMessageHelper->getResStr("COPYRIGHT"));
    s_pw->writeLine(L"");
}

// What a stream that cannot be written to keeps from being told must not cost the other stream its lines.
template <typename Write>
void tryToWrite(Write write) {
    try {
        write();
    } catch (const IOException&) {
        return;
    }
}

// Makes sure that the JSON document is open. Once: asked again, the header logic would take it for closed.
void openDocument() {
    static bool done = false;
    if (!done) displayJSONHeader(m_JSON, 0, 0);
    done = true;
}

// Writes one line on standard error, in JSON as a member behind the document on standard output.
void printError(const String& text) {
    const String line = errorLine(text, m_JSON);
    tryToWrite(openDocument);
    tryToWrite([&line] { s_errpw->writeLine(line); });
}

void closeDocument() {
    tryToWrite([] { displayJSONHeader(m_JSON, 1, 2); });
}

int reportFailure(const String& text) {
    printError(text);
    closeDocument();
    return kRefused;
}

// Only output fails in this way here: the settings file's reader makes a message of its own.
String writeErrorText(const StreamException& error) {
    const std::string reason = narrow(systemReason(error.errorNumber()));
    return s_vexoMessageHelper->getResStr("ERR_WRITE", narrow(error.name()).c_str(), reason.c_str());
}

// The signal that comes of a hang-up ends the run as any other one does, and nobody is left to be told more.
int reportHangUp(const HangUpException& error) {
    if (!hangUpIsSignalled()) return reportFailure(writeErrorText(error));
    tryToWrite(openDocument);
    closeDocument();
    return 0;
}

// A fatal error leaves the JSON document open.
int reportFatal(ResultCode code) {
    printError(s_vexoMessageHelper->getResStr("FATAL_ERROR", code));
    return code;
}

int reportOther(const Exception& error) {
    if (!error.message().empty()) return reportFailure(error.message());
    if (error.code() != kSuccess) return reportFatal(error.code());
    closeDocument();
    return 0;
}

// The fatal error of running out of memory, composed while there is memory for it.
std::string s_lastResort;

void prepareLastResort() {
    s_lastResort = narrow(errorLine(s_vexoMessageHelper->getResStr("FATAL_ERROR", kOutOfMemory), m_JSON)) + "\n";
}

void writeLastResort() {
    const std::string_view line = s_lastResort.empty() ? "Out of memory\n" : std::string_view(s_lastResort);
    static_cast<void>(!::write(STDERR_FILENO, line.data(), line.size()));
}

int reportOutOfMemory() {
    try {
        if (!s_vexoMessageHelper) openProgram();  // it failed as early as that
        return reportFatal(kOutOfMemory);
    } catch (const std::bad_alloc&) {
        writeLastResort();
        return kOutOfMemory;
    }
}

const std::terminate_handler s_usualTerminate = std::get_terminate();

// Where there is no memory for an exception either, the C++ library ends the process without one.
[[noreturn]] void onTerminate() {
    if (std::current_exception()) s_usualTerminate();
    writeLastResort();
    ::_exit(kOutOfMemory);
}

int run(int argc, const char* const* argv) {
    openProgram();
    String path;
    bool runOnce = false;
    const int status = parseArgs(argc, argv, path, runOnce);
    prepareLastResort();
    if (!m_JSON) printBanner();
    if (status != 0) {
        displayJSONHeader(m_JSON, 0, 0);
        displayUsage(m_JSON);
        return status;
    }
    {
        ConfigFileReader reader(path);
        s_configData = reader.readConfiguration();
        MonitorProcessor monitor(s_configData.get(), m_JSON);
        displayJSONHeader(m_JSON, 0, 1);
        monitor.startMonitoring(runOnce, m_JSON);
    }
    displayJSONHeader(m_JSON, 1, 2);
    return 0;
}

// Memory may run out while another failure is reported; that is then a failure like any other.
int runAndReportFailures(int argc, const char* const* argv) {
    try {
        return run(argc, argv);
    } catch (const ConfigException& error) {
        return reportFailure(error.message());
    } catch (const QRIException& error) {
        return reportFailure(error.message());
    } catch (const HangUpException& error) {
        return reportHangUp(error);
    } catch (const StreamException& error) {
        return reportFailure(writeErrorText(error));
    } catch (const IOException& error) {
        return reportFailure(error.message());
    } catch (const Exception& error) {
        return reportOther(error);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return reportFatal(kUnspecifiedFailure);
    }
}

int runAndReport(int argc, const char* const* argv) {
    try {
        return runAndReportFailures(argc, argv);
    } catch (const std::bad_alloc&) {
        return reportOutOfMemory();
    }
}

}  // namespace
}  // namespace vexo

int main(int argc, char** argv) {
    std::set_terminate(vexo::onTerminate);
    vexo::prepareProcess();
    return vexo::runAndReport(argc, argv);
}
