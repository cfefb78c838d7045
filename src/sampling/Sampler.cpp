// SPDX-License-Identifier: MIT
#include "sampling/Sampler.h"

#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <utility>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/NamedThread.h"
#include "sink/SinkText.h"
#include "status/QRIException.h"

namespace vexo {
namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;
constexpr std::int64_t kMillisPerSecond = 1000;

std::int64_t nowUs() {
    return RecordClocks::systemMonotonicUs();
}

// Of the first section that failed.
const SectionResult& failureOf(const Record& record) {
    for (const Section section : kAllSections)
        if (record.section(section).state == SectionState::kFailed) return record.section(section);
    return record.section(Section::kFiles);
}

}  // namespace

Sampler::Sampler(const XrApi& api, SamplerSettings settings, Distributor& records, std::function<void()> prepare,
                 std::function<void()> changed)
    : m_api(api),
      m_settings(std::move(settings)),
      m_records(records),
      m_prepare(std::move(prepare)),
      m_changed(std::move(changed)),
      m_messages(makeRef<MessageHelper>("AGENT", "AGENT_")),
      m_memoryText(m_messages->getResStr("ERR_MEMORY")),
      m_intervalMs(m_settings.intervalMs),
      m_schedule(nowUs(), m_intervalMs * kMicrosPerMilli),
      m_backOff(std::random_device()()) {
}

void Sampler::start() {
    const auto body = [](void* sampler) { static_cast<Sampler*>(sampler)->run(); };
    const ResultCode refused = NamedThread(L"VexoEngine").start(body, this);
    if (refused != kSuccess) throw ResultException(refused, m_messages->getResStr("ERR_THREAD", refused));
}

void Sampler::stop() {
    m_stop = true;
    m_wakeUp.wake();
}

void Sampler::setInterval(std::int64_t intervalMs) {
    m_newIntervalMs = intervalMs;
    m_wakeUp.wake();
}

void Sampler::tellStall(std::int64_t forMs) {
    m_stallTold = true;
    const std::string seconds = std::to_string(forMs / kMillisPerSecond);
    const String text = m_messages->getResStr("EVENT_STALLED", seconds.c_str());
    EventItem event = eventNow(EventKind::kStalled, text);
    event.startMs -= forMs;
    event.count = static_cast<std::uint64_t>(forMs);
    m_records.note(std::move(event));
    m_records.publishFailure(0, text);
}

bool Sampler::finished() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_finished;
}

String Sampler::fatal() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_fatal;
}

void Sampler::run() {
    try {
        m_prepare();
        recordOnTicks();
        disconnect();
    } catch (const Exception& error) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_fatal = reasonOf(error);
    } catch (const std::bad_alloc&) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_fatal = std::move(m_memoryText);
    } catch (const std::exception& error) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_fatal = widen(error.what());
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_finished = true;
    m_changed();  // still under the lock: whoever sees that this has finished may destroy it
}

// A new interval does not hurry an engine that is not reached.
void Sampler::waitUntil(std::int64_t instant) {
    while (!m_stop && nowUs() < instant) {
        m_wakeUp.wait(instant - nowUs());
        const std::int64_t intervalMs = m_newIntervalMs.exchange(0);
        if (intervalMs == 0) continue;
        m_intervalMs = intervalMs;
        m_schedule.restart(nowUs(), intervalMs * kMicrosPerMilli);
        if (m_reached) instant = m_schedule.next();
    }
}

void Sampler::recordOnTicks() {
    std::uint64_t taken = 0;
    while (!m_stop) {
        m_busySinceUs = nowUs();
        const bool reached = tryAttempt();
        m_busySinceUs = 0;
        if (++taken == m_settings.count) break;
        waitUntil(nextInstant(reached));
    }
}

// Where memory runs out even for telling that it did, the next attempt may have some.
bool Sampler::tryAttempt() {
    try {
        return attempt();
    } catch (const std::bad_alloc&) {
        disconnect();
        return false;
    }
}

// Ticks that passed while there was no engine were not missed: attempts stood in for them.
std::int64_t Sampler::nextInstant(bool reached) {
    const bool wasReached = std::exchange(m_reached, reached);
    if (!reached) return nowUs() + m_backOff.next();
    m_backOff.reset();
    const std::uint64_t missed = m_schedule.advance(nowUs());
    if (missed == 0 || !wasReached) return m_schedule.next();
    const std::string count = std::to_string(missed);
    const std::int64_t spanMs = static_cast<std::int64_t>(missed) * m_intervalMs;
    EventItem event = eventNow(EventKind::kTicksMissed, m_messages->getResStr("EVENT_TICKS_MISSED", count.c_str()));
    event.endMs = event.startMs;
    event.startMs -= spanMs;
    event.count = missed;
    m_records.note(std::move(event));
    return m_schedule.next();
}

// One record, or the attempt at one. Whether the engine answered.
bool Sampler::attempt() {
    m_lastWhole = false;
    watchClock();
    std::shared_ptr<Record> record;
    int status = 0;
    String text;
    try {
        if (!m_engine) connect();
        RecordFrame frame = m_records.frame();
        if (m_intervalMs != m_settings.intervalMs) frame.intervalMs = static_cast<std::uint64_t>(m_intervalMs);
        record = m_collector->collect(std::move(frame));
        const SectionResult& failure = failureOf(*record);
        status = failure.status;
        text = widenUtf8(failure.text);
    } catch (const QRIException& error) {
        status = error.getErrorCode();
        text = error.message();
    } catch (const std::bad_alloc&) {
        text = m_memoryText;
    }
    m_lastWhole = record && record->failedSections() == 0;
    const bool reached = m_lastWhole || (record && record->failedSections() < record->askedSections());
    noteResumed(reached ? std::nullopt : std::optional(status));
    if (reached) {
        answered(std::move(record));
    } else {
        failed(status, text);
    }
    return reached;
}

// Throws QRIException for a refused connection, Exception for settings that no engine would take.
void Sampler::connect() {
    m_engine = std::make_unique<QRIMonitorHelper>(m_api);
    m_engine->connect(m_settings.server, m_settings.userName, m_settings.password);
    m_collector = std::make_unique<RecordCollector>(*m_engine, m_settings.plan);
    m_collector->continueFrom(m_lastWithFiles);
}

void Sampler::disconnect() {
    if (m_collector) m_lastWithFiles = m_collector->lastWithFiles();
    m_collector.reset();
    if (m_engine) m_engine->disconnect();
    m_engine.reset();
}

void Sampler::answered(std::shared_ptr<Record> record) {
    if (m_attempts != 0) noteFailedAttempts(0, m_failure);
    if (!m_reached) m_records.note(eventNow(EventKind::kConnected, m_messages->getResStr("EVENT_CONNECTED")));
    if (record->usage) {
        const auto before = std::exchange(m_uptime, record->usage->uptimeSeconds);
        if (before && *before > record->usage->uptimeSeconds)
            m_records.note(eventNow(EventKind::kEngineRestarted, m_messages->getResStr("EVENT_RESTARTED")));
    }
    m_records.publish(std::move(record));
}

// Of attempts in a row one an interval makes a record.
void Sampler::failed(int status, const String& text) {
    disconnect();
    const std::int64_t now = nowUs();
    if (m_reached) {
        const std::string reason = narrow(text);
        EventItem event = eventNow(EventKind::kConnectionLost, m_messages->getResStr("EVENT_LOST", reason.c_str()));
        event.status = status;
        m_records.note(std::move(event));
    } else {
        if (m_attempts++ == 0) m_firstAttemptMs = RecordClocks::systemEpochMs();
        m_failure = text;
        const bool due = m_failureToldUs == 0 || now - m_failureToldUs >= m_intervalMs * kMicrosPerMilli;
        if (!due && m_settings.count == 0) return;
        noteFailedAttempts(status, text);
    }
    m_failureToldUs = now;
    m_records.publishFailure(status, text);
}

void Sampler::noteFailedAttempts(int status, const String& text) {
    const std::string reason = narrow(text);
    EventItem event =
        eventNow(EventKind::kConnectFailed, m_messages->getResStr("EVENT_CONNECT_FAILED", reason.c_str()));
    event.endMs = std::exchange(event.startMs, m_firstAttemptMs);
    if (status != 0) event.status = status;
    event.count = std::exchange(m_attempts, 0);
    m_records.note(std::move(event));
}

// A call that was blocked came back, perhaps with a failure.
void Sampler::noteResumed(std::optional<std::int32_t> failure) {
    if (!m_stallTold.exchange(false)) return;
    const auto forMs = static_cast<std::uint64_t>((nowUs() - m_busySinceUs) / kMicrosPerMilli);
    const std::string seconds = std::to_string(forMs / kMillisPerSecond);
    const char* const key = failure ? "EVENT_CALL_FAILED" : "EVENT_RESUMED";
    EventItem event = eventNow(EventKind::kResumed, m_messages->getResStr(key, seconds.c_str()));
    event.status = failure;
    event.count = forMs;
    m_records.note(std::move(event));
}

void Sampler::watchClock() {
    const std::int64_t jumpMs = m_clock.jump(RecordClocks::systemEpochMs(), nowUs());
    if (jumpMs == 0) return;
    const auto size = static_cast<std::uint64_t>(std::abs(jumpMs));
    const std::string seconds = std::to_string(size / kMillisPerSecond);
    EventItem event =
        eventNow(EventKind::kClockChanged,
                 m_messages->getResStr(jumpMs > 0 ? "EVENT_CLOCK_AHEAD" : "EVENT_CLOCK_BACK", seconds.c_str()));
    event.count = size;
    m_records.note(std::move(event));
}

}  // namespace vexo
