// SPDX-License-Identifier: MIT
#include "export/MetricsPage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "output/Version.h"
#include "record/Codes.h"

namespace vexo {
namespace {

constexpr std::uint64_t kMicrosPerMilli = 1000;
constexpr double kMillisPerSecond = 1000;
constexpr double kMicrosPerSecond = 1'000'000;
constexpr auto kCounter = MetricType::kCounter;

constexpr MetricFamily kUp = {"vexo_up",
                              "Whether the last record is whole and recent; at 0 no series of the engine is exposed."};
constexpr MetricFamily kSectionSuccess = {"vexo_section_success", "Whether the last record has the section."};
constexpr MetricFamily kDuration = {"vexo_record_duration_seconds", "How long reading the last record took.",
                                    MetricType::kGauge, "seconds"};
constexpr MetricFamily kTimestamp = {"vexo_last_record_timestamp_seconds",
                                     "When the last record that holds anything began.", MetricType::kGauge, "seconds"};
constexpr MetricFamily kBuildInfo = {"vexo_agent_build", "The version of the recorder.", MetricType::kInfo};
constexpr MetricFamily kSinkUp = {"vexo_agent_sink_up", "Whether the sink took the last record it was given."};
constexpr MetricFamily kDropped = {"vexo_agent_records_dropped", "Records that the sink did not take.", kCounter};
constexpr MetricFamily kHistoryBytes = {"vexo_agent_history_bytes", "Size of the history on disk.", MetricType::kGauge,
                                        "bytes"};
constexpr MetricFamily kEngineInfo = {"vexo_engine", "The version of the engine.", MetricType::kInfo};
constexpr MetricFamily kStartTime = {"vexo_engine_start_time_seconds", "When the engine started.", MetricType::kGauge,
                                     "seconds"};
constexpr MetricFamily kConnections = {"vexo_connections", "SQL connections by their status."};
constexpr MetricFamily kRequests = {"vexo_requests", "Requests processed since the engine started.", kCounter};
constexpr MetricFamily kProtocolRequests = {"vexo_protocol_requests",
                                            "Requests processed since the engine started, by protocol.", kCounter};
constexpr MetricFamily kTimeouts = {"vexo_connection_timeouts", "Connections that timed out since the engine started.",
                                    kCounter};
constexpr MetricFamily kRecoveries = {"vexo_connection_recoveries", "Connections recovered since the engine started.",
                                      kCounter};
constexpr MetricFamily kWaiting = {"vexo_handles_waiting", "Handles that wait, by what they wait for."};
constexpr MetricFamily kLocking = {"vexo_handles_locking", "Handles that lock records, by the kind of lock."};
constexpr MetricFamily kOldestWait = {"vexo_oldest_wait_seconds",
                                      "How long the longest wait has lasted at least; 0 when nobody waits.",
                                      MetricType::kGauge, "seconds"};

// A resource: three families.
struct AmountFamilies {
    MetricFamily current;
    MetricFamily peak;
    MetricFamily limit;
};

template <typename Owner>
struct AmountRow {
    Amount Owner::*amount;
    AmountFamilies families;
};

constexpr AmountRow<Usage> kUsageRows[] = {
    {&Usage::files,
     {{"vexo_open_files", "Open files."},
      {"vexo_open_files_peak", "Most open files since the engine started."},
      {"vexo_open_files_limit", "Most open files allowed."}}                                     },
    {&Usage::handles,
     {{"vexo_handles", "File handles."},
      {"vexo_handles_peak", "Most file handles since the engine started."},
      {"vexo_handles_limit", "Most file handles allowed."}}                                      },
    {&Usage::clients,
     {{"vexo_clients", "Clients."},
      {"vexo_clients_peak", "Most clients since the engine started."},
      {"vexo_clients_limit", "Most clients allowed."}}                                           },
    {&Usage::workerThreads,
     {{"vexo_worker_threads", "Worker threads."},
      {"vexo_worker_threads_peak", "Most worker threads since the engine started."},
      {"vexo_worker_threads_limit", "Most worker threads allowed."}}                             },
    {&Usage::users,
     {{"vexo_users", "Users."},
      {"vexo_users_peak", "Most users since the engine started."},
      {"vexo_users_limit", "Most users allowed."}}                                               },
    {&Usage::sessions,
     {{"vexo_sessions", "Sessions."},
      {"vexo_sessions_peak", "Most sessions since the engine started."},
      {"vexo_sessions_limit", "Most sessions allowed."}}                                         },
    {&Usage::transactions,
     {{"vexo_transactions", "Transactions."},
      {"vexo_transactions_peak", "Most transactions since the engine started."},
      {"vexo_transactions_limit", "Most transactions allowed."}}                                 },
    {&Usage::locks,
     {{"vexo_locks", "Locks."},
      {"vexo_locks_peak", "Most locks since the engine started."},
      {"vexo_locks_limit", "Most locks allowed."}}                                               },
    {&Usage::dataInUseBytes,
     {{"vexo_data_in_use_bytes", "Data in use.", MetricType::kGauge, "bytes"},
      {"vexo_data_in_use_peak_bytes", "Most data in use since the engine started.", MetricType::kGauge, "bytes"},
      {"vexo_data_in_use_limit_bytes", "Most data in use allowed.", MetricType::kGauge, "bytes"}}},
};

constexpr AmountRow<Communication> kCommunicationRows[] = {
    {&Communication::remoteSessions,
     {{"vexo_remote_sessions", "Remote sessions."},
      {"vexo_remote_sessions_peak", "Most remote sessions since the engine started."},
      {"vexo_remote_sessions_limit", "Most remote sessions allowed."}}                       },
    {&Communication::threads,
     {{"vexo_communication_threads", "Threads that serve communication."},
      {"vexo_communication_threads_peak", "Most threads that served communication since the engine started."},
      {"vexo_communication_threads_limit", "Most threads that serve communication allowed."}}},
};

template <typename Value>
void write(ExpositionWriter& out, const MetricFamily& family, const std::optional<Value>& value) {
    if (!value) return;
    out.begin(family);
    out.sample(*value);
}

template <typename Owner>
void write(ExpositionWriter& out, const AmountRow<Owner>& row, const Owner& owner) {
    const Amount& amount = owner.*row.amount;
    out.begin(row.families.current);
    out.sample(amount.current);
    out.begin(row.families.peak);
    out.sample(amount.peak);
    out.begin(row.families.limit);
    if (amount.limit == 0) return out.sample(std::numeric_limits<double>::infinity());
    out.sample(amount.limit);
}

template <std::size_t Count>
void write(ExpositionWriter& out, const MetricFamily& family, std::string_view label, const ByWord<Count>& numbers) {
    if (std::none_of(numbers.values.begin(), numbers.values.end(), [](const auto& value) { return value.has_value(); }))
        return;
    out.begin(family);
    for (std::size_t place = 0; place < Count; ++place)
        if (numbers.values[place]) out.sample(label, numbers.words[place], *numbers.values[place]);
}

void writeEngine(ExpositionWriter& out, const EngineMetrics& engine) {
    if (!engine.version.empty()) {
        out.begin(kEngineInfo);
        out.sample("version", engine.version, std::uint64_t{1});
    }
    write(out, kStartTime, engine.startTime);
    if (engine.usage)
        for (const auto& row : kUsageRows)
            write(out, row, *engine.usage);
    write(out, kConnections, "status", engine.connectionsByStatus);
    if (engine.communication) {
        write(out, kRequests, std::optional(engine.communication->requests));
        write(out, kTimeouts, std::optional(engine.communication->connectionTimeouts));
        write(out, kRecoveries, std::optional(engine.communication->connectionRecoveries));
        for (const auto& row : kCommunicationRows)
            write(out, row, *engine.communication);
    }
    write(out, kProtocolRequests, "protocol", engine.requestsByProtocol);
    write(out, kWaiting, "for", engine.handlesWaiting);
    write(out, kLocking, "lock", engine.handlesLocking);
    if (engine.oldestWaitMs)
        write(out, kOldestWait, std::optional(static_cast<double>(*engine.oldestWaitMs) / kMillisPerSecond));
}

// The engine tells its uptime in whole seconds, so that its start seems to move by a second from record to record.
std::optional<double> steadyStart(std::optional<double> before, std::optional<double> now) {
    constexpr double kTolerance = 2;
    return before && now && std::abs(*before - *now) < kTolerance ? before : now;
}

}  // namespace

MetricsPage::MetricsPage(std::uint64_t stallMs, SinkHealthSource sinks, std::int64_t (*monotonicUs)())
    : m_stallUs(stallMs * kMicrosPerMilli), m_sinks(std::move(sinks)), m_monotonicUs(monotonicUs) {
}

void MetricsPage::update(const Record& record) {
    constexpr std::uint64_t kFreshIntervals = 3;
    Attempt attempt;
    for (const Section section : kAllSections)
        attempt.sections[static_cast<std::size_t>(section)] = record.section(section).state;
    attempt.succeeded = record.failedSections() == 0;
    attempt.endedUs = record.monotonicUs + static_cast<std::int64_t>(record.tookUs);
    attempt.freshForUs = std::max(kFreshIntervals * record.intervalMs * kMicrosPerMilli, m_stallUs);
    const bool holdsAnything = record.failedSections() < record.askedSections();
    EngineMetrics engine = metricsOf(record);  // looks at every handle: not under the lock

    const std::lock_guard lock(m_mutex);
    engine.startTime = steadyStart(m_state.engine.startTime, engine.startTime);
    m_state.engine = std::move(engine);
    m_state.attempt = attempt;
    if (holdsAnything) m_state.lastRead = LastRead{record.epochMs, record.tookUs};
}

MetricsPage::State MetricsPage::state() const {
    const std::lock_guard lock(m_mutex);
    return m_state;
}

bool MetricsPage::isFresh(const State& state) const {
    if (!state.attempt) return false;
    return m_monotonicUs() - state.attempt->endedUs < static_cast<std::int64_t>(state.attempt->freshForUs);
}

bool MetricsPage::isUp() const {
    const State now = state();
    return isFresh(now) && now.attempt->succeeded;
}

std::string MetricsPage::render(ExpositionFormat format, std::string_view server) const {
    const State now = state();
    const bool fresh = isFresh(now);
    ExpositionWriter out(format, server);
    writeRecorder(out, now, fresh);
    writeSinks(out);
    if (fresh && now.attempt->succeeded) writeEngine(out, now.engine);
    return out.finish();
}

void MetricsPage::writeRecorder(ExpositionWriter& out, const State& state, bool fresh) const {
    out.begin(kBuildInfo);
    out.sample("version", kProgramVersion, std::uint64_t{1});
    write(out, kUp, std::optional<std::uint64_t>(fresh && state.attempt->succeeded ? 1 : 0));
    if (fresh) {
        ByWord<kSections> success{};
        for (const Section section : kAllSections) {
            const auto place = static_cast<std::size_t>(section);
            success.words[place] = wordOf(section);
            if (state.attempt->sections[place] == SectionState::kOff) continue;
            success.values[place] = state.attempt->sections[place] == SectionState::kWhole ? 1 : 0;
        }
        write(out, kSectionSuccess, "section", success);
    }
    if (!state.lastRead) return;
    write(out, kDuration, std::optional(static_cast<double>(state.lastRead->tookUs) / kMicrosPerSecond));
    write(out, kTimestamp, std::optional(static_cast<double>(state.lastRead->epochMs) / kMillisPerSecond));
}

void MetricsPage::writeSinks(ExpositionWriter& out) const {
    if (!m_sinks) return;
    constexpr std::size_t kKinds = 5;
    ByWord<kKinds> dropped{
        {"history", "ndjson", "csv", "metrics", "textfile"}
    };
    ByWord<kKinds> up{dropped.words};
    std::optional<std::uint64_t> historyBytes;
    for (const SinkHealth& sink : m_sinks()) {
        const auto place =
            static_cast<std::size_t>(std::find(up.words.begin(), up.words.end(), sink.name) - up.words.begin());
        if (place == kKinds) continue;
        // Two files of one kind count as one sink: down when one of them is.
        up.values[place] = sink.up && up.values[place].value_or(1) != 0 ? 1 : 0;
        dropped.add(place, sink.dropped);
        if (place == 0 && sink.bytes) historyBytes = sink.bytes;
    }
    write(out, kSinkUp, "sink", up);
    write(out, kDropped, "sink", dropped);
    write(out, kHistoryBytes, historyBytes);
}

}  // namespace vexo
