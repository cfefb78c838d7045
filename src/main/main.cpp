// SPDX-License-Identifier: MIT
// The life of one run, and the one place where failures become a message and an exit status.
#include <unistd.h>

#include <new>
#include <string_view>

#include "config/ConfigException.h"
#include "config/ConfigFileReader.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/FileDescriptor.h"
#include "foundation/Piece.h"
#include "main/CommandLine.h"
#include "main/JsonDocument.h"
#include "main/Program.h"
#include "monitor/MonitorProcessor.h"
#include "output/Version.h"
#include "status/QRIException.h"
#include "util/Utils.h"

namespace vexo {
namespace {

constexpr int kRefused = 1;

void printBanner() {
    s_pw->writeLine(s_vexoMessageHelper->getResStr("NAME", kProgramVersion));
    s_pw->writeLine(s_vexoMessageHelper->getResStr("COPYRIGHT"));
    s_pw->writeLine(L"");
}

int run(int argc, const char* const* argv) {
    openProgram();
    String path;
    bool runOnce = false;
    const int status = parseArgs(argc, argv, path, runOnce);
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

// Writes one line on standard error, in JSON as a member behind the document on standard output.
void printError(String text) {
    if (!m_JSON) return s_errpw->writeLine(text);
    Utils::addBackslashChars(text, L'"');
    try {
        displayJSONHeader(m_JSON, 0, 0);
    } catch (const IOException&) {
        // Standard output may be what failed: that must not cost the message.
    }
    s_errpw->writeLine(concat(L"\t\"error\": \"", text, L"\""));
}

int reportFailure(const String& text) {
    printError(text);
    displayJSONHeader(m_JSON, 1, 2);
    return kRefused;
}

// Only output fails in this way here: the settings file's reader makes a message of its own.
String writeErrorText(const StreamException& error) {
    const std::string reason = narrow(systemReason(error.errorNumber()));
    return s_vexoMessageHelper->getResStr("ERR_WRITE", narrow(error.name()).c_str(), reason.c_str());
}

// A fatal error leaves the JSON document open.
int reportFatal(ResultCode code) {
    printError(s_vexoMessageHelper->getResStr("FATAL_ERROR", code));
    return code;
}

// Runs `action`; when it fails too, `status` has to do.
template <typename Action>
int withFallback(int status, Action action) {
    try {
        return action();
    } catch (...) {
        return status;
    }
}

// The last resort when there is no memory left to compose a message with.
int reportOutOfMemory() {
    return withFallback(kOutOfMemory, [] {
        try {
            if (!s_vexoMessageHelper) openProgram();  // it failed as early as that
            return reportFatal(kOutOfMemory);
        } catch (const std::bad_alloc&) {
            constexpr std::string_view kText = "Out of memory\n";
            static_cast<void>(!::write(STDERR_FILENO, kText.data(), kText.size()));
            return kOutOfMemory;
        }
    });
}

int runAndReport(int argc, const char* const* argv) {
    try {
        return run(argc, argv);
    } catch (const ConfigException& error) {
        return withFallback(kRefused, [&] { return reportFailure(error.message()); });
    } catch (const QRIException& error) {
        return withFallback(kRefused, [&] { return reportFailure(error.message()); });
    } catch (const StreamException& error) {
        return withFallback(kRefused, [&] { return reportFailure(writeErrorText(error)); });
    } catch (const IOException& error) {
        return withFallback(kRefused, [&] { return reportFailure(error.message()); });
    } catch (const Exception& error) {
        if (!error.message().empty()) return withFallback(kRefused, [&] { return reportFailure(error.message()); });
        if (error.code() != kSuccess) return withFallback(error.code(), [&] { return reportFatal(error.code()); });
        return withFallback(kRefused, [] {
            displayJSONHeader(m_JSON, 1, 2);
            return 0;
        });
    } catch (const std::bad_alloc&) {
        return reportOutOfMemory();
    } catch (...) {
        return withFallback(kUnspecifiedFailure, [] { return reportFatal(kUnspecifiedFailure); });
    }
}

}  // namespace
}  // namespace vexo

int main(int argc, char** argv) {
    vexo::reserveStandardDescriptors();
    vexo::useEnvironmentEncoding();
    return vexo::runAndReport(argc, argv);
}
