// SPDX-License-Identifier: MIT
// How much of each resource the engine uses, used at most and may use.
#include "monitor/MonitorProcessor.h"
#include "monitor/ReportWriter.h"
#include "util/Utils.h"

namespace vexo {
namespace {

constexpr StringView kUnlimited = L"unlimited";

// A line of the text form.
struct TextRow {
    Piece label;
    Piece current;
    Piece peak;
    Piece maximum;
};

// How the two numbers of a JSON group begin.
struct Starts {
    StringView current;
    StringView peak;
};

// Five lines of the JSON form.
struct JsonGroup {
    Piece opening;
    Starts starts;
    Piece current;
    Piece peak;
    Piece maximum;
    Piece closing;
};

// Engines of these types limit sessions and data, the others limit users.
bool limitsSessions(int engineType) {
    return engineType == 6 || engineType == 7;
}

}  // namespace

void MonitorProcessor::processResourceStats(bool json) {
    const auto stats = m_engine->getUsageStats();
    const UsageStats& u = *stats;
    const bool sessionLimits = limitsSessions(m_engineType);
    const String uptime = Utils::convertTimeInSecs(static_cast<long>(u.engineUptimeSecs));
    const String files = getMaxValue(u.filesMax);
    const String handles = getMaxValue(u.handlesMax);
    const String clients = getMaxValue(u.clientsMax);
    const String threads = getMaxValue(u.workerThreadsMax);
    const String users = sessionLimits ? String(NA) : decimal(u.userCountMax);
    const String data = sessionLimits ? decimal(u.dataInUseMBMax) : String(NA);
    ReportWriter out(*m_format, json);

    out.title(0, L"Resource Usage");
    out.text(0, L"Engine Uptime: ", uptime, L" (hh:mm:ss)");
    out.text(0, L"");
    out.text(1, L"                       Current\t\tPeak\t\tMaximum");
    out.json(L"\t\"resource_usage\":");
    out.json(L"\t{");
    // Established output: a string that keeps the unit.
    out.json(L"\t\t\"engine_uptime\": \"", uptime, L" (hh:mm:ss)\",");

    // Established output: with session limits, the text form hides the users that the JSON form still counts, and
    // prints a session maximum of 0 as a number where the JSON form says unlimited.
    const String textUsers = sessionLimits ? String(NA) : decimal(u.userCountCurrent);
    const String textUsersPeak = sessionLimits ? String(NA) : decimal(u.userCountPeak);
    const String textSessions = sessionLimits ? decimal(u.sessionCountMax) : String(NA);
    const String jsonSessions = sessionLimits ? getMaxValue(u.sessionCountMax) : String(NA);

    const TextRow textRows[] = {
        {L"Files:                 ", u.filesCurrent,         u.filesPeak,         files       },
        {L"Handles:               ", u.handlesCurrent,       u.handlesPeak,       handles     },
        {L"Clients:               ", u.clientsCurrent,       u.clientsPeak,       clients     },
        {L"Worker Threads:        ", u.workerThreadsCurrent, u.workerThreadsPeak, threads     },
        {L"User Count:            ", textUsers,              textUsersPeak,       users       },
        {L"Session Count:         ", u.sessionCountCurrent,  u.sessionCountPeak,  textSessions},
        {L"Data in Use MB:        ", u.dataInUseMBCurrent,   u.dataInUseMBPeak,   data        },
        {L"Transactions:          ", u.transactionsCurrent,  u.transactionsPeak,  kUnlimited  },
        {L"Locks:                 ", u.locksCurrent,         u.locksPeak,         kUnlimited  },
    };
    for (const TextRow& row : textRows) {
        out.text(1, StringView(row.label), StringView(row.current), L"\t\t", StringView(row.peak), L"\t\t",
                 StringView(row.maximum));
    }

    const Starts spaced{L"\t\t\t\"current\": ", L"\t\t\t\"peak\": "};
    // Established output: with session limits, the blank after some of the colons is missing.
    const Starts userStarts = sessionLimits ? Starts{L"\t\t\t\"current\":", L"\t\t\t\"peak\":"} : spaced;
    const Starts tight = sessionLimits ? Starts{L"\t\t\t\"current\": ", L"\t\t\t\"peak\":"} : spaced;

    // Established output: the peak of the handles repeats their current count; the text form has the true one.
    // Established output: the key "client" is singular.
    // Established output: a blank follows the comma of three closing lines.
    const JsonGroup jsonGroups[] = {
        {L"\t\t\"files\": {",          spaced,     u.filesCurrent,         u.filesPeak,         files,        L"\t\t}," },
        {L"\t\t\"handles\": {",        spaced,     u.handlesCurrent,       u.handlesCurrent,    handles,      L"\t\t}," },
        {L"\t\t\"client\": {",         spaced,     u.clientsCurrent,       u.clientsPeak,       clients,      L"\t\t}, "},
        {L"\t\t\"worker_threads\": {", spaced,     u.workerThreadsCurrent, u.workerThreadsPeak, threads,      L"\t\t}, "},
        {L"\t\t\"user_count\": {",     userStarts, u.userCountCurrent,     u.userCountPeak,     users,        L"\t\t}," },
        {L"\t\t\"session_count\": {",  tight,      u.sessionCountCurrent,  u.sessionCountPeak,  jsonSessions, L"\t\t}, "},
        {L"\t\t\"data_in_use_MB\": {", tight,      u.dataInUseMBCurrent,   u.dataInUseMBPeak,   data,         L"\t\t}," },
        {L"\t\t\"transactions\": {",   spaced,     u.transactionsCurrent,  u.transactionsPeak,  kUnlimited,   L"\t\t}," },
        {L"\t\t\"locks\": {",          spaced,     u.locksCurrent,         u.locksPeak,         kUnlimited,   L"\t\t}"  },
    };
    for (const JsonGroup& group : jsonGroups) {
        out.json(StringView(group.opening));
        out.json(group.starts.current, StringView(group.current), L",");
        out.json(group.starts.peak, StringView(group.peak), L",");
        // Established output: a maximum is a string, also when it is a number.
        out.json(L"\t\t\t\"maximum\": \"", StringView(group.maximum), L"\"");
        out.json(StringView(group.closing));
    }
    out.json(L"\t},");
}

}  // namespace vexo
