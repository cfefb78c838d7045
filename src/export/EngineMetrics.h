// SPDX-License-Identifier: MIT
// The few numbers of a record that become metrics. Their count does not depend on the engine.
#ifndef VEXO_EXPORT_ENGINEMETRICS_H
#define VEXO_EXPORT_ENGINEMETRICS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "record/Record.h"

namespace vexo {

// One number for each word of a label; none for a word that the engine does not have.
template <std::size_t Count>
struct ByWord {
    std::array<std::string_view, Count> words;
    std::array<std::optional<std::uint64_t>, Count> values{};

    void add(std::size_t place, std::uint64_t value) { values[place] = values[place].value_or(0) + value; }
    void addWord(std::string_view word, std::uint64_t value) {
        std::size_t place = 0;
        while (place + 1 < Count && words[place] != word)
            ++place;
        add(place, value);
    }
};

// What is known where a section of the record is whole.
struct EngineMetrics {
    std::string version;  // empty where the engine tells none, or one that is no plain version
    std::optional<Usage> usage;
    std::optional<double> startTime;  // of the engine, in seconds since 1970
    std::optional<Communication> communication;
    // The last word of each stands for every other one.
    ByWord<4> requestsByProtocol{
        {"spx", "tcp_ip", "netbios", "other"}
    };
    ByWord<3> connectionsByStatus{
        {"idle", "active", "dying"}
    };
    ByWord<3> handlesWaiting{
        {"record", "file", "other"}
    };
    ByWord<2> handlesLocking{
        {"single", "multiple"}
    };
    std::optional<std::uint64_t> oldestWaitMs;  // 0 when nobody waits
};

EngineMetrics metricsOf(const Record& record);

}  // namespace vexo

#endif
