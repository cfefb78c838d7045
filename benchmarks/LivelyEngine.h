// SPDX-License-Identifier: MIT
// Records of an engine with life: in each a tenth of the sessions has worked and a hundredth of the handles changed.
#ifndef VEXO_BENCHMARKS_LIVELYENGINE_H
#define VEXO_BENCHMARKS_LIVELYENGINE_H

#include <algorithm>
#include <string>

#include "record/Record.h"

namespace vexo {

class LivelyEngine {
public:
    explicit LivelyEngine(std::uint32_t handles) : m_handles(handles) {}

    // The record of this number: always the same.
    Record record(std::uint64_t number, std::uint64_t run = 1) const {
        Record record;
        NameTable names;
        record.run = run;
        record.number = number;
        record.epochMs = epochOf(number);
        record.monotonicUs = static_cast<std::int64_t>(number) * 10'000'000 + noise(1, number) % 900;
        record.intervalMs = 10'000;
        record.scope = HandleScope::kAll;
        record.server = names.add("shop");
        record.recorder = names.add("16.11.6");
        record.engineVersion = names.add("13.10.028");
        record.engineType = 1;
        std::uint64_t startedUs = 3;
        for (SectionResult& section : record.sections) {
            section = {SectionState::kWhole, 1, 0, startedUs, 300 + noise(startedUs, number) % 200, 0, {}};
            startedUs += section.tookUs + 4;
        }
        record.tookUs = startedUs;
        addTotals(record);
        addFiles(record, names);
        addSessions(record, names);
        addConnections(record, names);
        record.names = names.take();
        return record;
    }
    static constexpr std::int64_t epochOf(std::uint64_t number) {
        return 1'795'269'800'000 + static_cast<std::int64_t>(number) * 10'000;
    }

private:
    static std::uint32_t noise(std::uint64_t left, std::uint64_t right) {
        std::uint64_t mixed = (left + 1) * 0x9E3779B97F4A7C15U ^ (right + 1) * 0xC2B2AE3D27D4EB4FU;
        mixed = (mixed ^ mixed >> 29U) * 0xBF58476D1CE4E5B9U;
        return static_cast<std::uint32_t>(mixed >> 33U);
    }
    std::uint32_t files() const { return std::max(m_handles / 10, 1U); }
    std::uint32_t sessions() const { return std::max(m_handles / 20, 1U); }
    static std::string named(const char* start, std::uint32_t place) { return start + std::to_string(100'000 + place); }
    static std::uint64_t changeOf(std::uint32_t handle, std::uint64_t number) { return (number + handle * 7ULL) / 100; }
    static HandleState stateOf(std::uint32_t handle, std::uint64_t number) {
        const std::uint32_t dice = noise(handle, changeOf(handle, number)) % 100;
        return {static_cast<std::uint16_t>(dice > 95 ? 1019 : 0), 0, dice > 90 ? std::uint8_t{'S'} : std::uint8_t{'N'},
                static_cast<std::uint8_t>(dice == 50 && noise(handle, 3) % 10 == 0 ? 1 : 0)};
    }
    static void count(HandleCounts& counts, const HandleState& state) {
        ++counts.all;
        counts.waiting += state.waitState;
        counts.locking += state.recordLock == 'S' ? 1U : 0U;
    }
    void addTotals(Record& record) const {
        const std::uint64_t number = record.number;
        const std::uint64_t busy = noise(2, number) % 9;
        record.usage = Usage{
            {3,                         9,              20},
            {files(),                   files(),        0 },
            {m_handles,                 m_handles + 40, 0 },
            {busy,                      40,             0 },
            {sessions(),                sessions() + 7, 0 },
            {12,                        16,             64},
            {busy * 3,                  220,            0 },
            {(number / 60 + 20) << 20U, 90U << 20U,     0 },
            {sessions(),                sessions() + 7, 0 },
            number * 10
        };
        record.communication = Communication{
            number * 812 + busy, {0,          0,              0 },
                 {sessions(), sessions() + 7, 0 },
                 {12,         16,             64},
                 number / 900, 0
        };
        record.protocols = {
            {4,  number * 812 + busy, sessions(), sessions() + 7},
            {1,  0,                   0,          0             },
            {12, 0,                   0,          0             }
        };
    }
    void addFiles(Record& record, NameTable& names) const {
        for (std::uint32_t place = 0; place < files(); ++place) {
            FileItem file;
            file.name = names.add(named("/srv/shop/data/area/", place) + ".DAT");
            file.pageSizeBytes = 4096;
            file.sizeBytes = (20'000 + noise(place, (record.number + place) / 50) % 9000) * 1024ULL;
            file.readOnly = file.transactionLock = 'N';
            file.readLocks = 'Y';
            file.handles.first = static_cast<std::uint32_t>(record.fileHandles.size());
            for (std::uint32_t handle = place; handle < m_handles; handle += files())
                addHandle(record, names, file, handle);
            file.handles.count = static_cast<std::uint32_t>(record.fileHandles.size()) - file.handles.first;
            record.files.push_back(file);
        }
    }
    void addHandle(Record& record, NameTable& names, FileItem& file, std::uint32_t handle) const {
        const HandleState state = stateOf(handle, record.number);
        const std::uint32_t client = handle % sessions();
        record.fileHandles.push_back({client, names.add(named("STATION-", client)), state});
        count(file.counts, state);
        if (state.waitState == 0) return;
        // The record in which the handle's state changed last.
        const std::uint64_t passed = (record.number + handle * 7ULL) % 100;
        record.waits.push_back({file.name, record.fileHandles.back().client, client, 1,
                                epochOf(record.number) - static_cast<std::int64_t>(passed) * 10'000, passed * 10'000});
    }
    void addSessions(Record& record, NameTable& names) const {
        for (std::uint32_t place = 0; place < sessions(); ++place) {
            SessionItem session;
            session.name = session.clientId = names.add(named("STATION-", place));
            session.idWord = static_cast<std::uint16_t>(place);
            session.connectionNumber = place + 1;
            session.pid = 2000 + place;
            session.address = names.add("192.168." + std::to_string(place / 250) + "." + std::to_string(place % 250));
            const std::uint64_t work = (record.number + place) / 10;
            session.recordsRead = static_cast<std::uint32_t>(work * 400 + noise(place, work) % 300);
            session.recordsUpdated = static_cast<std::uint32_t>(work * 3);
            session.diskAccesses = static_cast<std::uint32_t>(work * 9 + noise(place, work) % 9);
            session.cacheAccesses = static_cast<std::uint32_t>(work * 380);
            session.handles.first = static_cast<std::uint32_t>(record.sessionHandles.size());
            for (std::uint32_t handle = place; handle < m_handles; handle += sessions()) {
                const HandleState state = stateOf(handle, record.number);
                record.sessionHandles.push_back(
                    {names.add(named("/srv/shop/data/area/", handle % files()) + ".DAT"), state});
                count(session.counts, state);
            }
            session.handles.count = session.counts.all;
            record.sessions.push_back(session);
        }
    }
    void addConnections(Record& record, NameTable& names) const {
        for (std::uint32_t place = 0; place < sessions() / 10; ++place) {
            const NameId host = names.add(named("web", place));
            const auto period = static_cast<std::uint32_t>((record.number + place) % 10 * 10'000);
            record.connections.push_back({names.add("webshop"), host, host, names.add("shopd"), names.add("SHOP"), 0,
                                          period, static_cast<std::uint32_t>(record.number * 10)});
        }
    }

    const std::uint32_t m_handles;
};

}  // namespace vexo

#endif
