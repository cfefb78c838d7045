// SPDX-License-Identifier: MIT
#include "sampling/SinkRunner.h"

#include <new>
#include <string>
#include <utility>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "foundation/NamedThread.h"
#include "foundation/Piece.h"
#include "record/RecordCollector.h"
#include "sampling/Events.h"
#include "sink/SinkText.h"

namespace vexo {

SinkRunner::SinkRunner(std::unique_ptr<Sink> sink, std::function<void()> changed)
    : m_sink(std::move(sink)), m_changed(std::move(changed)), m_messages(makeRef<MessageHelper>("AGENT", "AGENT_")) {
}

void SinkRunner::start() {
    const auto body = [](void* runner) { static_cast<SinkRunner*>(runner)->run(); };
    const ResultCode refused = NamedThread(concat(L"Sink ", widen(m_sink->name()))).start(body, this);
    if (refused != kSuccess) throw ResultException(refused, m_messages->getResStr("ERR_THREAD", refused));
}

void SinkRunner::put(const RecordPtr& record) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_finished) return drop(record);
    try {
        for (const RecordPtr& oldest : m_queue.put(record))
            drop(oldest);
    } catch (const std::bad_alloc&) {
        drop(record);
    }
    m_wanted.notify_one();
}

void SinkRunner::reopen() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_reopen = true;
    m_wanted.notify_one();
}

void SinkRunner::finish() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_finish = true;
    m_wanted.notify_one();
}

void SinkRunner::giveUp() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    while (const RecordPtr record = m_queue.take())
        drop(record);
}

bool SinkRunner::finished() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_finished;
}

std::optional<String> SinkRunner::gone() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_gone;
}

SinkHealth SinkRunner::health() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return {m_sink->name(), m_up, m_dropped, m_sink->bytes()};
}

std::vector<EventItem> SinkRunner::takeEvents(Drops drops) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_droppedUntold != 0 && (drops == Drops::kAll || areDropsDue())) {
        m_wroteSinceTold = false;
        m_dropsToldUs = RecordClocks::systemMonotonicUs();
        const std::string count = std::to_string(m_droppedUntold);
        EventItem told = eventNow(EventKind::kRecordsDropped,
                                  m_messages->getResStr("EVENT_DROPPED", m_sink->name().c_str(), count.c_str()));
        told.endMs = std::exchange(told.startMs, m_firstDropMs);
        told.count = std::exchange(m_droppedUntold, 0);
        m_events.push_back(std::move(told));
    }
    return std::exchange(m_events, {});
}

void SinkRunner::run() {
    while (performNext())
        continue;
    giveUp();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_finished = true;
    m_changed();  // still under the lock: whoever sees that this has finished may destroy it
}

// Whether there is more to do.
bool SinkRunner::performNext() {
    RecordPtr record;
    const Task task = nextTask(record);
    try {
        return perform(task, record);
    } catch (const std::bad_alloc&) {
        // There is no memory to tell of a failure. It is counted all the same.
        return task != Task::kClose;
    }
}

// A file is reopened before the records that wait: they came after it was renamed, or may as well have.
SinkRunner::Task SinkRunner::nextTask(RecordPtr& record) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_wanted.wait(lock, [this] { return m_reopen || m_finish || !m_queue.empty(); });
    if (std::exchange(m_reopen, false)) return Task::kReopen;
    record = withLostEvents(m_queue.take());
    return record ? Task::kWrite : Task::kClose;
}

// Whether there is more to do.
bool SinkRunner::perform(Task task, const RecordPtr& record) {
    try {
        if (task == Task::kReopen || (task == Task::kWrite && !m_isOpen)) reopenSink();
        if (task == Task::kWrite) m_sink->write(record);
        if (task == Task::kClose) m_sink->close();
        succeeded(task == Task::kWrite);
    } catch (const SinkGoneException& error) {
        failed(reasonOf(error), record);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_gone = reasonOf(error);
        return false;
    } catch (const Exception& error) {
        failed(reasonOf(error), record);
    } catch (const std::exception& error) {
        failed(widen(error.what()), record);  // no memory, or a library's own
    }
    return task != Task::kClose;
}

// What is open after a failure need not be what goes by its name: somebody else's, or renamed and soon removed.
void SinkRunner::reopenSink() {
    m_isOpen = false;
    m_sink->reopen();
    m_isOpen = true;
}

// A file that could be reopened is not known to take records again.
void SinkRunner::succeeded(bool wrote) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!wrote) return;
    m_wroteSinceTold = true;
    if (std::exchange(m_up, true)) return;
    m_events.push_back(
        eventNow(EventKind::kSinkRecovered, m_messages->getResStr("EVENT_SINK_RECOVERED", m_sink->name().c_str())));
}

void SinkRunner::failed(const String& reason, const RecordPtr& record) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (record) drop(record);
    if (!std::exchange(m_up, false)) return;
    const std::string narrowReason = narrow(reason);
    m_events.push_back(
        eventNow(EventKind::kSinkFailed,
                 m_messages->getResStr("EVENT_SINK_FAILED", m_sink->name().c_str(), narrowReason.c_str())));
}

void SinkRunner::drop(const RecordPtr& record) {
    constexpr std::size_t kMostLost = 1000;
    if (m_droppedUntold == 0) m_firstDropMs = RecordClocks::systemEpochMs();
    ++m_droppedUntold;
    ++m_dropped;
    try {
        m_lost.insert(m_lost.end(), record->events.begin(), record->events.end());
    } catch (const std::bad_alloc&) {
        // What it told is told to people at least.
    }
    if (m_lost.size() > kMostLost) m_lost.erase(m_lost.begin(), m_lost.end() - kMostLost);
}

RecordPtr SinkRunner::withLostEvents(RecordPtr record) {
    if (!record || m_lost.empty()) return record;
    try {
        auto copy = std::make_shared<Record>(*record);
        copy->events.insert(copy->events.begin(), m_lost.begin(), m_lost.end());
        m_lost.clear();
        return copy;
    } catch (const std::bad_alloc&) {
        return record;  // they come with a later one
    }
}

bool SinkRunner::areDropsDue() const {
    constexpr std::int64_t kQuietUs = 60'000'000;
    if (m_finished || m_finish) return true;
    return m_up && (m_wroteSinceTold || RecordClocks::systemMonotonicUs() - m_dropsToldUs >= kQuietUs);
}

}  // namespace vexo
