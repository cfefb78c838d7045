// SPDX-License-Identifier: MIT
// Gives records their numbers and events, and hands them to the sinks.
#ifndef VEXO_SAMPLING_DISTRIBUTOR_H
#define VEXO_SAMPLING_DISTRIBUTOR_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "messages/MessageHelper.h"
#include "record/RecordCollector.h"
#include "sampling/Events.h"
#include "sampling/Schedule.h"
#include "sampling/SinkRunner.h"

namespace vexo {

using SinkRunners = std::vector<std::unique_ptr<SinkRunner>>;

// Operations may be called on any thread; none of them waits for a sink.
class Distributor {
public:
    // `frame` is that of the first record. Borrows the sinks. A quiet one tells people only of what went wrong.
    Distributor(const RecordPlan& plan, RecordFrame frame, const SinkRunners& sinks, bool quiet);

    // What RecordCollector::collect() takes; the number and the events are set by publish().
    const RecordFrame& frame() const { return m_frame; }
    // An event of the next record.
    void note(EventItem event);
    // Hands the next record to all sinks, with what happened since the one before.
    void publish(std::shared_ptr<Record> record);
    // The same for a record that could not be read: every section that was asked for has failed with this status and text.
    void publishFailure(int status, const String& text);
    // The last record, which tells that recording ends, and of every record that was dropped until now.
    void publishEnd(const String& text);

    // Texts of the events since the call before, for people. Of those that come in rows some are left out, and counted in
    // the next one. Trouble with the engine that lasts is always told, and that it is over only where it was.
    std::vector<std::string> takeTexts();

private:
    struct Untold {
        EventItem event;
        std::int64_t sinceMs = 0;
    };

    void heed(std::vector<EventItem> events);
    void tell(const EventItem& event);
    void tellAgain(const EventItem& event, std::uint64_t leftOut);

    const RecordPlan m_plan;
    const RecordFrame m_frame;
    const SinkRunners& m_sinks;
    const bool m_quiet;
    const MessageHelper m_messages{"AGENT", "AGENT_"};
    std::mutex m_mutex;
    // Everything below is guarded by the mutex.
    std::uint64_t m_number;
    std::vector<EventItem> m_events;
    std::vector<std::string> m_texts;
    std::map<EventKind, Repetition> m_repetitions;
    bool m_isTroubleTold = true;     // the engine's, since it was told that it is over
    std::optional<Untold> m_untold;  // trouble with the engine that goes on
};

}  // namespace vexo

#endif
