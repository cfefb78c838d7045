// SPDX-License-Identifier: MIT
#include "monitor/MonitorProcessor.h"

#include "engine/EngineCall.h"
#include "engine/XrApi.h"
#include "foundation/Encoding.h"
#include "monitor/StopSignals.h"
#include "output/DocumentHeader.h"
#include "output/ErrorLine.h"
#include "output/Logger.h"

namespace vexo {

Ref<TextWriter> pw;
Ref<TextWriter> errpw;

namespace {

void reportCrashesOfCalls(const MessageHelper& messages, bool json) {
    reportCrashes(narrow(errorLine(messages.getResStr("ERR_ENGINE_CRASH", &kCallPlaceholder[0]), json)) + "\n");
}

}  // namespace

MonitorProcessor::MonitorProcessor(const ConfigData* configuration, bool json)
    : m_configuration(configuration), m_messages(makeRef<MessageHelper>("VEXO", "VEXO_")) {
    pw = TextWriter::onStandardOutput(TextWriter::Flushing::kAfterEveryLine);
    errpw = TextWriter::onStandardError(TextWriter::Flushing::kAfterEveryLine);
    createMaps(json);
}

MonitorProcessor::~MonitorProcessor() {
    if (m_engine) m_engine->disconnect();
}

void MonitorProcessor::startMonitoring(bool runOnce, bool json) {
    createOutputFormatter();
    if (json) {
        for (const String& line : documentHeader(*m_messages))
            m_format->putData(line, 0);
    }
    printConfiguration(json);
    connect(json);
    printRecordHeader(json);
    if (runOnce) {
        processMonitorRequests(json);
    } else if (m_configuration->refreshRate != 0) {
        processMonitorRequestsUntilStopped(json);
    } else {
        processMonitorRequestManually(json);
    }
    if (json) m_format->putData(L"}", 0);
}

void MonitorProcessor::connect(bool json) {
    // Until here there is nothing to release, and the library may be a pipe that blocks: a signal just ends the process.
    const XrApi api = loadEngineLibrary();
    reportCrashesOfCalls(*m_messages, json);
    holdStopSignals();
    m_engine = std::make_unique<QRIMonitorHelper>(api);
    m_engine->connect(m_configuration->server, m_configuration->userName, m_configuration->password);
    m_engineType = m_engine->getEngineType();
}

void MonitorProcessor::createOutputFormatter() {
    auto logger = makeRef<Logger>("VEXO", "VEXO_");
    if (m_configuration->consoleOutput) logger->addStdOutHandler();
    if (m_configuration->fileOutput) logger->addFileHandler(m_configuration->logFileName);
    logger->setLevel(Level::kAll);
    m_format = makeRef<FormatHelper>(std::move(logger));
}

void MonitorProcessor::processMonitorRequests(bool json) {
    if (m_configuration->showFiles) processActiveFiles(json);
    if (m_configuration->showSessions) processActiveSessions(json);
    if (m_configuration->showConnections) processActiveConnections(json);
    if (m_configuration->showResources) processResourceStats(json);
    if (m_configuration->showCommunications) processCommunicationStats(json);
}

}  // namespace vexo
