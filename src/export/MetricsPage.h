// SPDX-License-Identifier: MIT
// The last record and the recorder's own state as metrics. docs/METRICS.md lists them.
#ifndef VEXO_EXPORT_METRICSPAGE_H
#define VEXO_EXPORT_METRICSPAGE_H

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "export/EngineMetrics.h"
#include "export/ExpositionWriter.h"
#include "record/Record.h"
#include "record/RecordCollector.h"
#include "sink/Sink.h"

namespace vexo {

// At most 100 series, whatever the engine. Operations may be called on any thread; none of them waits for the engine.
class MetricsPage {
public:
    // A record counts as the engine's present state for three intervals after it was read, and for `stallMs` where that
    // is longer. `sinks` may be empty. The clock is that of the records.
    MetricsPage(std::uint64_t stallMs, SinkHealthSource sinks,
                std::int64_t (*monotonicUs)() = RecordClocks::systemMonotonicUs);

    // Takes the numbers of the last record, which may be one in which every section failed. Keeps nothing else of it.
    void update(const Record& record);

    // Whether the last record is whole and recent. Otherwise the page tells nothing of the engine.
    bool isUp() const;

    // All metrics. With a `server`, every sample carries it as a label.
    std::string render(ExpositionFormat format, std::string_view server = {}) const;

private:
    // What the last record was like.
    struct Attempt {
        std::array<SectionState, kSections> sections{};
        bool succeeded = false;
        std::int64_t endedUs = 0;  // by the monotonic clock
        std::uint64_t freshForUs = 0;
    };
    // The last record that holds anything.
    struct LastRead {
        std::int64_t epochMs = 0;
        std::uint64_t tookUs = 0;
    };
    struct State {
        std::optional<Attempt> attempt;
        std::optional<LastRead> lastRead;
        EngineMetrics engine;
    };
    bool isFresh(const State& state) const;
    State state() const;
    void writeRecorder(ExpositionWriter& out, const State& state, bool fresh) const;
    void writeSinks(ExpositionWriter& out) const;

    const std::uint64_t m_stallUs;
    const SinkHealthSource m_sinks;
    std::int64_t (*const m_monotonicUs)();
    mutable std::mutex m_mutex;  // guards m_state, for the time of a copy
    State m_state;
};

}  // namespace vexo

#endif
