// SPDX-License-Identifier: MIT
#include "sampling/Distributor.h"

#include <iterator>
#include <utility>

#include "foundation/Encoding.h"

namespace vexo {
namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;
// Trouble that lasts for longer is told, however often there was some before.
constexpr std::int64_t kShortMs = 60'000;

std::int64_t nowMs() {
    return RecordClocks::systemMonotonicUs() / kMicrosPerMilli;
}

bool isTroubleOfEngine(EventKind kind) {
    return kind == EventKind::kConnectFailed || kind == EventKind::kConnectionLost || kind == EventKind::kStalled;
}

// A call that came back with a failure ends nothing.
bool endsTroubleOfEngine(const EventItem& event) {
    return event.kind == EventKind::kConnected || (event.kind == EventKind::kResumed && !event.status);
}

// Events that come again and again for as long as something is wrong.
bool comesInRows(EventKind kind) {
    return isTroubleOfEngine(kind) || kind == EventKind::kRecordsDropped || kind == EventKind::kTicksMissed ||
           kind == EventKind::kClockChanged;
}

bool isRoutine(EventKind kind) {
    return kind == EventKind::kStarted || kind == EventKind::kConnected || kind == EventKind::kStopped;
}

}  // namespace

Distributor::Distributor(const RecordPlan& plan, RecordFrame frame, const SinkRunners& sinks, bool quiet)
    : m_plan(plan), m_frame(std::move(frame)), m_sinks(sinks), m_quiet(quiet), m_number(m_frame.number) {
}

void Distributor::note(EventItem event) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<EventItem> one;
    one.push_back(std::move(event));
    heed(std::move(one));
}

void Distributor::publish(std::shared_ptr<Record> record) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& sink : m_sinks)
        heed(sink->takeEvents(SinkRunner::Drops::kDue));
    record->number = m_number++;
    record->events = std::exchange(m_events, {});
    const RecordPtr shared = std::move(record);
    for (const auto& sink : m_sinks)
        sink->put(shared);
}

void Distributor::publishFailure(int status, const String& text) {
    auto record = std::make_shared<Record>();
    NameTable names;
    record->server = names.add(m_frame.server);
    record->recorder = names.add(m_frame.recorder);
    record->names = names.take();
    record->run = m_frame.run;
    record->intervalMs = m_frame.intervalMs;
    record->scope = m_plan.scope;
    record->epochMs = RecordClocks::systemEpochMs();
    record->monotonicUs = RecordClocks::systemMonotonicUs();
    for (const Section section : kAllSections) {
        if (!m_plan.asks(section)) continue;
        SectionResult& result = record->sections[static_cast<std::size_t>(section)];
        result.state = SectionState::kFailed;
        result.attempts = 1;
        result.status = status;
        result.text = narrowUtf8(text);
    }
    publish(std::move(record));
}

void Distributor::publishEnd(const String& text) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& sink : m_sinks)
            heed(sink->takeEvents(SinkRunner::Drops::kAll));
    }
    note(eventNow(EventKind::kStopped, text));
    publishFailure(0, text);
}

std::vector<std::string> Distributor::takeTexts() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_untold && nowMs() - m_untold->sinceMs >= kShortMs) {
        const EventItem event = m_untold->event;
        tellAgain(event, m_repetitions[event.kind].takeLeftOut() - 1);
    }
    return std::exchange(m_texts, {});
}

// The mutex is held.
void Distributor::heed(std::vector<EventItem> events) {
    for (EventItem& event : events) {
        tell(event);
        m_events.push_back(std::move(event));
    }
}

void Distributor::tell(const EventItem& event) {
    if (m_quiet && isRoutine(event.kind)) return;
    if (event.kind == EventKind::kResumed && event.status) return;  // its failure is told next
    if (endsTroubleOfEngine(event)) {
        m_untold.reset();
        if (!std::exchange(m_isTroubleTold, false)) return;
    }
    if (!comesInRows(event.kind)) return m_texts.push_back(toldText(event));
    const auto leftOut = m_repetitions[event.kind].next(nowMs());
    if (leftOut) return tellAgain(event, *leftOut);
    if (isTroubleOfEngine(event.kind) && !m_isTroubleTold && !m_untold) m_untold = {event, nowMs()};
}

void Distributor::tellAgain(const EventItem& event, std::uint64_t leftOut) {
    if (isTroubleOfEngine(event.kind)) {
        m_isTroubleTold = true;
        m_untold.reset();
    }
    if (leftOut == 0) return m_texts.push_back(toldText(event));
    const std::string count = std::to_string(leftOut);
    m_texts.push_back(narrow(m_messages.getResStr("EVENT_REPEATED", toldText(event).c_str(), count.c_str())));
}

}  // namespace vexo
