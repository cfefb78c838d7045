// SPDX-License-Identifier: MIT
// Gives a sink its thread and its queue. Events of records that a sink does not take come to it with the next one that it
// does.
#ifndef VEXO_SAMPLING_SINKRUNNER_H
#define VEXO_SAMPLING_SINKRUNNER_H

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "messages/MessageHelper.h"
#include "sampling/RecordQueue.h"
#include "sink/Sink.h"

namespace vexo {

// All operations but the constructor and start() return at once, and may be called on any thread. Has to live until
// finished(), or until the process ends.
class SinkRunner {
public:
    // `changed` is called on the sink's thread when the sink has finished.
    SinkRunner(std::unique_ptr<Sink> sink, std::function<void()> changed);

    Sink& sink() { return *m_sink; }
    // Starts the thread of an open sink. Throws ResultException with a text when the system refuses.
    void start();
    void put(const RecordPtr& record);
    void reopen();
    // Lets the sink write what is queued, and close.
    void finish();
    // Counts as dropped what waits for a sink that is blocked in the end.
    void giveUp();
    // Whether the sink is closed, after finish() or because it is gone for good, and why it is gone.
    bool finished() const;
    std::optional<String> gone() const;
    SinkHealth health() const;
    // What happened to the sink since the call before: records dropped, failed, recovered. Drops that are due are told at
    // once when they begin, then once a minute for as long as the sink is blocked, and all together when it recovers.
    enum class Drops { kDue, kAll };
    std::vector<EventItem> takeEvents(Drops drops);

private:
    enum class Task { kWrite, kReopen, kClose };

    void run();
    bool performNext();
    Task nextTask(RecordPtr& record);
    bool perform(Task task, const RecordPtr& record);
    void reopenSink();
    void succeeded(bool wrote);
    void failed(const String& reason, const RecordPtr& record);
    void drop(const RecordPtr& record);
    RecordPtr withLostEvents(RecordPtr record);
    bool areDropsDue() const;

    const std::unique_ptr<Sink> m_sink;
    const std::function<void()> m_changed;
    const Ref<MessageHelper> m_messages;
    bool m_isOpen = true;  // of the sink's thread: whether it was opened, or reopened, without a failure

    mutable std::mutex m_mutex;
    std::condition_variable m_wanted;
    // Everything below is guarded by the mutex.
    RecordQueue m_queue;
    bool m_reopen = false;
    bool m_finish = false;
    bool m_finished = false;
    bool m_up = true;
    std::optional<String> m_gone;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_droppedUntold = 0;
    std::int64_t m_firstDropMs = 0;
    bool m_wroteSinceTold = true;    // whether a record was written since drops were told last
    std::int64_t m_dropsToldUs = 0;  // when
    std::vector<EventItem> m_lost;   // of the records that were dropped
    std::vector<EventItem> m_events;
};

}  // namespace vexo

#endif
