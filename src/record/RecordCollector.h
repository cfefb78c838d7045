// SPDX-License-Identifier: MIT
// Makes a record of what a connected engine answers.
#ifndef VEXO_RECORD_RECORDCOLLECTOR_H
#define VEXO_RECORD_RECORDCOLLECTOR_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/QRIMonitorHelper.h"
#include "record/Record.h"

namespace vexo {

// What a record is to hold.
struct RecordPlan {
    std::array<bool, kSections> sections{};  // by Section
    HandleScope scope = HandleScope::kNone;

    bool& asks(Section section) { return sections[static_cast<std::size_t>(section)]; }
    bool asks(Section section) const { return sections[static_cast<std::size_t>(section)]; }
};

// Where a record stands among others.
struct RecordFrame {
    std::string server;  // bytes, as configured
    std::string recorder;
    std::uint64_t run = 0;
    std::uint64_t number = 0;
    std::uint64_t intervalMs = 0;
    std::vector<EventItem> events;  // since the record before
};

// The two clocks of a record. The defaults are the system's.
struct RecordClocks {
    static std::int64_t systemEpochMs();
    static std::int64_t systemMonotonicUs();

    std::int64_t (*epochMs)() = systemEpochMs;          // UTC since 1970
    std::int64_t (*monotonicUs)() = systemMonotonicUs;  // of no particular origin
};

// One for each connection to an engine. For use by one thread; the records may go to any.
class RecordCollector {
public:
    // Borrows `engine`, which has to be connected and to outlive the collector.
    RecordCollector(QRIMonitorHelper& engine, const RecordPlan& plan, RecordClocks clocks = {});

    // Reads the sections one by one. One that fails is tried once more where the status says that the engine moved on;
    // one that fails then is reported in the record, and the others go on. Throws nothing for a status of the engine.
    // Before the record goes to anybody else the caller may still change its number and its events.
    std::shared_ptr<Record> collect(RecordFrame frame);
    // The last record with the files section and its handles, which the waits of the next one go on from; null before the
    // first. Hand that of one connection to the collector of the next.
    RecordPtr lastWithFiles() const { return m_before; }
    void continueFrom(RecordPtr before) { m_before = std::move(before); }

private:
    void askEngine();
    template <typename Read>
    SectionResult attempt(std::int64_t recordStartUs, Read read);

    QRIMonitorHelper& m_engine;
    const RecordPlan m_plan;
    const RecordClocks m_clocks;
    std::string m_engineVersion;  // empty until the engine told
    std::optional<std::uint32_t> m_engineType;
    RecordPtr m_before;  // see lastWithFiles()
};

}  // namespace vexo

#endif
