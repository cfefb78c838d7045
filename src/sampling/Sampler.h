// SPDX-License-Identifier: MIT
// Reads the engine at the ticks of the grid, on a thread of its own that makes every engine call.
#ifndef VEXO_SAMPLING_SAMPLER_H
#define VEXO_SAMPLING_SAMPLER_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "engine/QRIMonitorHelper.h"
#include "messages/MessageHelper.h"
#include "record/RecordCollector.h"
#include "sampling/Distributor.h"
#include "sampling/Schedule.h"
#include "sampling/WakeUp.h"

namespace vexo {

struct SamplerSettings {
    String server;
    String userName;
    String password;
    RecordPlan plan;
    std::int64_t intervalMs = 0;
    std::uint64_t count = 0;  // records after which it ends; 0 is no limit
};

// Operations but the constructor return at once, and may be called on any thread. Has to live until finished(), or until
// the process ends: a blocked engine call cannot be cancelled.
class Sampler {
public:
    // Borrows `records`. `prepare` is called on the engine thread before its first call, `changed` when it has finished.
    Sampler(const XrApi& api, SamplerSettings settings, Distributor& records, std::function<void()> prepare,
            std::function<void()> changed);

    // Starts the thread. Throws ResultException with a text when the system refuses.
    void start();
    // Lets the record that is being read be the last one.
    void stop();
    // From now on the ticks are that far apart; the first one is due at once.
    void setInterval(std::int64_t intervalMs);
    bool finished() const;

    // Since when the engine has been asked without a pause, on the monotonic clock in microseconds; 0 between two
    // records.
    std::int64_t busySinceUs() const { return m_busySinceUs; }
    // Notes and publishes that the engine has been silent for this long. The record that comes after all tells it too.
    void tellStall(std::int64_t forMs);

    // Whether every section of the last record was read.
    bool lastWasWhole() const { return m_lastWhole; }
    // Why no engine can ever be reached with these settings; empty when that is not so.
    String fatal() const;

private:
    void run();
    void recordOnTicks();
    bool tryAttempt();
    bool attempt();
    void connect();
    void disconnect();
    void answered(std::shared_ptr<Record> record);
    void failed(int status, const String& text);
    void noteFailedAttempts(int status, const String& text);
    void noteResumed(std::optional<std::int32_t> failure);
    void watchClock();
    std::int64_t nextInstant(bool reached);
    void waitUntil(std::int64_t instant);

    const XrApi m_api;
    const SamplerSettings m_settings;
    Distributor& m_records;
    const std::function<void()> m_prepare;
    const std::function<void()> m_changed;
    const Ref<MessageHelper> m_messages;
    String m_memoryText;  // composed while there is memory
    const WakeUp m_wakeUp;

    // Of the engine thread.
    std::unique_ptr<QRIMonitorHelper> m_engine;
    std::unique_ptr<RecordCollector> m_collector;
    RecordPtr m_lastWithFiles;
    std::int64_t m_intervalMs;
    Schedule m_schedule;
    BackOff m_backOff;
    ClockWatch m_clock;
    bool m_reached = false;        // by the last attempt
    std::uint64_t m_attempts = 0;  // that failed and are not told yet
    std::int64_t m_firstAttemptMs = 0;
    String m_failure;                  // of the last of them
    std::int64_t m_failureToldUs = 0;  // when a record was published last that could not be read
    std::optional<std::uint64_t> m_uptime;

    std::atomic<bool> m_stop{false};
    std::atomic<std::int64_t> m_newIntervalMs{0};  // 0 for none
    std::atomic<bool> m_lastWhole{false};
    std::atomic<bool> m_stallTold{false};
    std::atomic<std::int64_t> m_busySinceUs{0};
    mutable std::mutex m_mutex;
    // Both guarded by the mutex.
    bool m_finished = false;
    String m_fatal;
};

}  // namespace vexo

#endif
