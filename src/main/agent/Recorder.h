// SPDX-License-Identifier: MIT
// One run of the recorder, on the main thread: opens the sinks, starts the threads, heeds signals, watches for a blocked
// engine, and ends everything in order.
#ifndef VEXO_MAIN_AGENT_RECORDER_H
#define VEXO_MAIN_AGENT_RECORDER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "config/ConfigData.h"
#include "main/agent/AgentOptions.h"
#include "main/agent/AgentSignals.h"
#include "main/agent/ServiceManager.h"
#include "main/companion/Companion.h"
#include "sampling/Distributor.h"
#include "sampling/Sampler.h"
#include "sampling/WakeUp.h"

namespace vexo {

// An exit status beside those of all companions.
inline constexpr int kAbandoned = 75;  // EX_TEMPFAIL: starting anew may help

class Recorder {
public:
    // Borrows both.
    Recorder(const AgentOptions& options, const ConfigData& configuration);

    // The exit status. Throws an Exception with a message for what cannot be opened. Where a thread is still blocked in
    // the end, the process ends in here.
    int run();

private:
    void openSinks();
    void startThreads(const XrApi& api);
    RecordPlan plan() const;
    std::int64_t intervalMs() const;
    std::vector<SinkHealth> health() const;

    void watch();
    void turn(std::int64_t mostMs);
    void watchEngine();
    bool shallEnd() const;

    void stopSampler();
    void noteEnd();
    void closeSinks();
    template <typename Done>
    void waitFor(Done done);
    bool isHurried() const;
    bool areGone() const;
    bool areFinished() const;
    int status() const;
    void tellEvents();
    void tellFailure() const;

    const AgentOptions& m_options;
    const ConfigData& m_configuration;
    const Ref<MessageHelper> m_messages;
    const ServiceManager m_manager;
    const WakeUp m_changed;  // by the other threads
    AgentSignals m_signals;
    SinkRunners m_sinks;
    std::optional<Distributor> m_records;
    std::optional<Sampler> m_sampler;
    std::int64_t m_watchdogUs = 0;  // when the watchdog was told last
    std::int64_t m_stalledUs = 0;   // since when the call is blocked that was told last
    bool m_abandoned = false;
};

}  // namespace vexo

#endif
