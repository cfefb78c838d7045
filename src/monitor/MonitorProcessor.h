// SPDX-License-Identifier: MIT
// One run of the monitor: connects to the engine and writes records, once, on a timer or on request.
#ifndef VEXO_MONITOR_MONITORPROCESSOR_H
#define VEXO_MONITOR_MONITORPROCESSOR_H

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>

#include "config/ConfigData.h"
#include "engine/QRIMonitorHelper.h"
#include "foundation/Ref.h"
#include "foundation/String.h"
#include "foundation/TextWriter.h"
#include "messages/MessageHelper.h"
#include "monitor/CodeTables.h"
#include "monitor/StopSignals.h"
#include "output/FormatHelper.h"

namespace vexo {

// The report side's writers on standard output and standard error; empty until a MonitorProcessor is made. Set for
// whoever builds on this class; the monitor itself writes through its formatter and its prompt writers.
extern Ref<TextWriter> pw;
extern Ref<TextWriter> errpw;

class MonitorProcessor {
public:
    // What the keyboard thread is handed. Both threads hold it.
    struct UserInputThreadArgs : RefCounted {
        String exitText;
        String errorText;
        Ref<TextWriter> writer;       // the thread's own, so that no line is torn by a prompt
        std::int32_t characterLimit;  // 0 for none
        std::exception_ptr failure;   // why the last line could not be written; valid once `failed` is set
        std::atomic<bool> failed{false};
    };

    // `configuration` is borrowed for the object's life.
    MonitorProcessor(const ConfigData* configuration, bool json);
    // Disconnects from the engine.
    virtual ~MonitorProcessor();
    MonitorProcessor(const MonitorProcessor&) = delete;
    MonitorProcessor& operator=(const MonitorProcessor&) = delete;

    // The whole run, from the configuration echo to the last line. Whatever fails ends it by an exception.
    void startMonitoring(bool runOnce, bool json);

    // Builds the tables, with the words of the text form or of the JSON form.
    void createMaps(bool json);
    // The word for `key`, or "n/a".
    static StringView getMapValue(const Ref<CodeTable>& map, int key);
    StringView getReadOnlyFlagString(int code) const { return getMapValue(m_booleanFlags, code); }
    StringView getRecordLocksString(int code) const { return getMapValue(m_booleanFlags, code); }
    StringView getTransactionLockString(int code) const { return getMapValue(m_booleanFlags, code); }
    // Part of the published operations; no report needs it.
    StringView getBooleanStateString(int code) const { return getMapValue(m_booleanFlags, code); }
    StringView getOpenModeString(int code) const { return getMapValue(m_openModes, code); }
    StringView getRecordLockTypeString(int code) const { return getMapValue(m_recordLockTypes, code); }
    StringView getTransStateString(int code) const { return getMapValue(m_transactionStates, code); }
    StringView getWaitStateString(int code) const { return getMapValue(m_waitStates, code); }
    StringView getSiteString(int code) const { return getMapValue(m_sites, code); }
    StringView getProtocolRequestString(int code) const { return getMapValue(m_protocolRequests, code); }
    StringView getProtocolSessionString(int code) const { return getMapValue(m_protocolSessions, code); }
    // A connection number in decimal; "n/a" above 32000.
    static String getConnectionString(unsigned long count);
    // The state of an SQL connection.
    static StringView getStatusString(int state);
    // A maximum in decimal; "unlimited" for 0.
    static String getMaxValue(long maximum);

    // Sleeps, at most for `milliseconds`; a stop ends it within 3 seconds, a signal at once.
    static void incrementalSleep(std::int64_t milliseconds);

private:
    void createOutputFormatter();
    void connect(bool json);
    void printConfiguration(bool json);
    void printConfigurationNV(StringView name, StringView value, bool json, int kind);
    void printRecordHeader(bool json);

    // One record: every section that is switched on, in their fixed order.
    void processMonitorRequests(bool json);
    void processMonitorRequestsUntilStopped(bool json);
    void processMonitorRequestManually(bool json);
    Ref<UserInputThreadArgs> startUserInputThread(const Ref<TextWriter>& writer);
    static void readUserInput(void* args);
    // Throws what kept the keyboard thread from writing its last line, unless a signal ended the run.
    static void raiseInputFailure(const UserInputThreadArgs& input);

    void processActiveFiles(bool json);
    void processActiveFileInfo(const FileInfo* file, bool json);
    void processActiveFileHDLInfo(const FileHandleInfo* handle, bool json);
    void processActiveSessions(bool json);
    void processActiveSessionInfo(const SessionInfo* session, bool json);
    void processActiveSessionHDInfo(const SessionHandleInfo* handle, bool json);
    void processActiveConnections(bool json);
    void processActiveConnectionInfo(const ConnInfo* connection, bool json);
    void processResourceStats(bool json);
    void processCommunicationStats(bool json);

    const ConfigData* const m_configuration;
    std::unique_ptr<QRIMonitorHelper> m_engine;
    Ref<FormatHelper> m_format;
    const Ref<MessageHelper> m_messages;
    int m_engineType = 0;
    Ref<CodeTable> m_booleanFlags;
    Ref<CodeTable> m_openModes;
    Ref<CodeTable> m_recordLockTypes;
    Ref<CodeTable> m_transactionStates;
    Ref<CodeTable> m_waitStates;
    Ref<CodeTable> m_sites;
    Ref<CodeTable> m_protocolRequests;
    Ref<CodeTable> m_protocolSessions;
};

}  // namespace vexo

#endif
