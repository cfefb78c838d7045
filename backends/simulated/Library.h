// SPDX-License-Identifier: MIT
// The library between XrStart and XrStop: the engine that the scenario describes, the snapshots that the caller holds,
// and what every exported function does before and after its own work.
#ifndef XRSIM_LIBRARY_H
#define XRSIM_LIBRARY_H

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "CallerCheck.h"
#include "Faults.h"
#include "Statistics.h"
#include "Trace.h"
#include "World.h"

namespace xrsim {

// The running engine: its contents, and how far the data calls have moved it.
struct RunningEngine {
    explicit RunningEngine(Scenario scenario)
        : world(std::move(scenario)), statistics(world), faults(world.scenario().faults) {}

    const World world;
    Statistics statistics;
    Faults faults;
};

// The data calls that move the engine on.
enum class Data : std::uint8_t { kFiles, kClients, kConnections, kUsage, kCommunication };

class Library {
public:
    static Library& instance();

    Status start();
    Status stop();
    Status connect(std::string_view server, std::string_view user, std::string_view password, std::int32_t& h);
    Status disconnect(std::int32_t h);

    RunningEngine& engine() { return *m_engine; }
    const World& world() const { return m_engine->world; }
    CallerCheck& check() { return m_check; }
    Snapshot& files() { return m_files; }
    Snapshot& clients() { return m_clients; }
    Snapshot& connections() { return m_connections; }

    // The round that a data call reads. The first call of any kind begins it, and the first repeated one the next.
    Round roundFor(Data data);

    // False, and a note of misuse in the trace, when an argument of `function` is NULL.
    bool hasRoom(Function function, bool given) const;

    // Plays what the scenario's faults do to a call: delays it, ends the process, loses the connection. The rest of the
    // effect is up to the call. `name` is that of the file or the client.
    Effect playFaults(Function function, std::optional<std::uint32_t> index = std::nullopt,
                      std::optional<std::string_view> name = std::nullopt) {
        return m_engine->faults.watch(function) ? strike(function, index, name) : Effect();
    }

    // The data and free calls of an enumeration.
    template <typename Take>
    Status take(Function function, Snapshot& snapshot, std::uint32_t* count, Take takeSnapshot) {
        if (!hasRoom(function, count)) return kBadArgument;
        const Effect effect = playFaults(function);
        if (effect.status != kOk) return effect.status;
        if (snapshot.isHeld()) m_check.misuse(function, "the last snapshot is not freed");
        snapshot = takeSnapshot();
        *count = effect.announced(snapshot.count());
        return kOk;
    }
    Status free(Function function, Snapshot& snapshot);
    void needs(Function function, const Snapshot& snapshot) const;

    // Runs the body of an exported function. No exception leaves it; the trace gets `arguments` and `results`.
    template <typename Body, typename Arguments, typename Results>
    Status call(Function function, Body body, Arguments arguments, Results results) noexcept {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Status status = kInternalFailure;
        try {
            enter(function);
            std::optional<Line> line;
            if (m_trace.isOpen()) arguments(line.emplace(std::string(nameOf(function)) + "("));
            status = body();
            if (!line) return status;
            line->close(status);
            if (status == kOk) results(*line);
            m_trace.write(line->str() + "\n");
        } catch (...) {
            // Nothing but memory can run out here. The status is all that can be told then.
        }
        return status;
    }

    // The same for the functions that take a connection handle.
    template <typename Body, typename Arguments, typename Results>
    Status call(Function function, std::int32_t h, Body body, Arguments arguments, Results results) noexcept {
        return call(
            function,
            [&]() -> Status {
                const Status refusal = admit(function, h);
                return refusal != kOk ? refusal : body();
            },
            [&](Line& line) { arguments(line.number("h", h)); }, results);
    }

private:
    Library() : m_check(m_trace) {}

    void enter(Function function);
    Status admit(Function function, std::int32_t h);
    Effect strike(Function function, std::optional<std::uint32_t> index, std::optional<std::string_view> name);
    void load();
    void dropSnapshots(Function function);

    std::mutex m_mutex;
    Trace m_trace;
    CallerCheck m_check;
    std::optional<RunningEngine> m_engine;  // empty when the scenario is wrong
    bool m_connectionIsLost = false;
    std::int32_t m_lastHandle = 0;
    Snapshot m_files;
    Snapshot m_clients;
    Snapshot m_connections;
    Round m_round = 1;
    Round m_servedRounds[5] = {};
};

}  // namespace xrsim

#endif
