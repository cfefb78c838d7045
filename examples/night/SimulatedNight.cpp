// SPDX-License-Identifier: MIT
// Writes the history of a night in a small shop, as the recorder would have: twelve hours, a record every ten seconds,
// and three incidents. A run of the invoices keeps tills waiting, the engine is gone for twelve minutes, and a web shop
// that does not close its sessions takes all that are allowed.
//
//     simulated-night HISTORY [END [INTERVAL_SECONDS]]      END in seconds since 1970, by default now
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "foundation/Encoding.h"
#include "foundation/Process.h"
#include "history/HistoryWriter.h"
#include "record/Codes.h"
#include "record/Waits.h"

namespace {

using namespace vexo;

// Seconds since the beginning of the night.
constexpr std::int64_t at(std::int64_t hours, std::int64_t minutes, std::int64_t seconds = 0) {
    return (hours * 60 + minutes) * 60 + seconds;
}
constexpr std::int64_t kNight = at(12, 0);

struct Stretch {
    std::int64_t from;
    std::int64_t to;
    bool holds(std::int64_t second) const { return second >= from && second < to; }
};
constexpr Stretch kShopOpen = {0, at(2, 0)};
constexpr Stretch kInvoices = {at(2, 40), at(2, 52)};  // locks stock records
constexpr Stretch kSecondTillWaits = {at(2, 41, 10), at(2, 45, 20)};
constexpr Stretch kThirdTillWaits = {at(2, 42, 40), at(2, 45, 10)};
constexpr Stretch kBackup = {at(5, 0), at(5, 45)};
constexpr Stretch kEngineGone = {at(6, 14), at(6, 26)};
constexpr Stretch kWebLeaks = {at(9, 30), at(10, 20)};
constexpr Stretch kMorning = {at(11, 0), kNight + 1};
constexpr std::uint64_t kSessionLimit = 20;

const char* const kFiles[] = {"ARTICLE", "STOCK", "CUSTOMER", "ORDERS", "ORDERPOS", "INVOICE", "PRICES"};
constexpr std::size_t kStock = 1;
constexpr std::size_t kOrders = 3;
constexpr std::size_t kInvoice = 5;

struct Station {
    std::string name;
    std::string address;
    double readsPerSecond = 0;
    double writesPerSecond = 0;
    std::vector<std::size_t> files;
    std::int64_t since = 0;
    SessionItem counters;
};

class Night {
public:
    Night(const char* path, std::int64_t endSecond, std::int64_t interval)
        : m_writer(path, {1ULL << 50U, 1ULL << 40U, 0}), m_start(endSecond - kNight), m_interval(interval) {
        for (std::size_t file = 0; file < std::size(kFiles); ++file)
            m_fileKilobytes.push_back(20'480 + file * 31'744);
        m_run = m_writer.nextRun();
        m_number = m_writer.nextRecord();
    }

    void write() {
        std::int64_t retryAfter = 1;
        std::int64_t nextTry = kEngineGone.from;
        bool isGone = false;
        for (std::int64_t second = 0; second <= kNight; second += m_interval) {
            if (kEngineGone.holds(second)) {
                if (second < nextTry) continue;
                writeFailure(second, isGone);
                isGone = true;
                nextTry = second + retryAfter;
                retryAfter = std::min<std::int64_t>(retryAfter * 2, 60);
                continue;
            }
            std::vector<EventItem> events;
            if (second == 0) {
                events = {event(EventKind::kStarted, second, "Recording began with version 16.11.6."),
                          event(EventKind::kConnected, second, "The engine answers.")};
            }
            if (isGone) {
                events = {event(EventKind::kConnected, second, "The engine answers."),
                          event(EventKind::kEngineRestarted, second, "The engine was started anew.")};
                m_stations.clear();
                m_requests = 0;
                m_engineStart = kEngineGone.to - 20;
                isGone = false;
            }
            moveTo(second);
            writeRecord(second, std::move(events));
        }
    }

private:
    EventItem event(EventKind kind, std::int64_t second, const char* text) const {
        return {kind, epochMs(second), {}, {}, {}, text};
    }
    std::int64_t epochMs(std::int64_t second) const { return (m_start + second) * 1000; }
    double chance() { return std::uniform_real_distribution<double>(0, 1)(m_dice); }

    // Who is there at this time, and what they did since the last record.
    void moveTo(std::int64_t second) {
        const bool isDay = kShopOpen.holds(second) || kMorning.holds(second);
        for (int till = 1; till <= 4; ++till) {
            const bool isLate = till <= 3 && second < at(3, 0);
            keep(isDay || isLate, second,
                 {
                     "TILL-0" + std::to_string(till),
                     "192.168.20.1" + std::to_string(till),
                     isDay ? 42.0 : 8,
                     1.6,
                     {0,        kStock, kOrders, 4, 6},
                     0,
                     {      }
            });
        }
        keep(isDay, second,
             {
                 "OFFICE-ANNA", "192.168.20.31", 12, 0.4, {2,         kOrders, kInvoice},
                     0, {        }
        });
        keep(kInvoices.holds(second), second,
             {
                 "INVOICE-RUN", "192.168.20.30", 310, 24, {kStock,    kOrders, kInvoice},
                     0, {        }
        });
        keep(kBackup.holds(second), second,
             {
                 "BACKUP", "local", 2900, 0, {0,  kStock, 2, kOrders, 4, kInvoice, 6},
                     0, {}
        });
        std::int64_t web = 3;
        if (kWebLeaks.holds(second)) web = std::min<std::int64_t>(3 + (second - kWebLeaks.from) / 90, kSessionLimit);
        while (web > 3 && web + static_cast<std::int64_t>(m_stations.size()) - countOf("WEBSHOP") >
                              static_cast<std::int64_t>(kSessionLimit))
            --web;
        for (std::int64_t place = 1; place <= 20; ++place)
            keep(place <= web, second,
                 {
                     "WEBSHOP-" + std::to_string(place),
                     "192.168.20.40",
                     place <= 3 ? 16.0 : 0.2,
                     place <= 3 ? 0.3 : 0,
                     {0,  kStock, 6},
                     0,
                     { }
            });
        for (Station& station : m_stations)
            work(station, second);
    }
    std::int64_t countOf(const std::string& start) const {
        return std::count_if(m_stations.begin(), m_stations.end(),
                             [&](const Station& one) { return one.name.compare(0, start.size(), start) == 0; });
    }
    void keep(bool isThere, std::int64_t second, const Station& station) {
        const auto found = std::find_if(m_stations.begin(), m_stations.end(),
                                        [&](const Station& one) { return one.name == station.name; });
        if (isThere && found == m_stations.end()) {
            m_stations.push_back(station);
            m_stations.back().since = second;
            m_stations.back().counters.pid = static_cast<std::uint32_t>(2000 + m_stations.size());
        } else if (!isThere && found != m_stations.end()) {
            m_stations.erase(found);
        } else if (isThere) {
            found->readsPerSecond = station.readsPerSecond;
        }
    }
    static bool waits(const Station& station, std::int64_t second) {
        return (station.name == "TILL-02" && kSecondTillWaits.holds(second)) ||
               (station.name == "TILL-03" && kThirdTillWaits.holds(second));
    }
    void work(Station& station, std::int64_t second) {
        if (waits(station, second)) return;
        const double share = (0.4 + 1.2 * chance()) * static_cast<double>(m_interval);
        const auto reads = static_cast<std::uint32_t>(station.readsPerSecond * share);
        const auto writes = static_cast<std::uint32_t>(station.writesPerSecond * share);
        SessionItem& counters = station.counters;
        counters.recordsRead += reads;
        counters.recordsInserted += writes / 3;
        counters.recordsUpdated += writes - writes / 3;
        counters.diskAccesses += station.name == "BACKUP" ? reads / 2 : reads / 40 + writes;
        counters.cacheAccesses += reads;
        m_requests += reads + 2 * writes + 1;
        m_fileKilobytes[kOrders] += writes / 4;
        m_fileKilobytes[kInvoice] += station.name == "INVOICE-RUN" ? writes : 0;
    }

    HandleState stateOf(const Station& station, std::size_t file, std::int64_t second) {
        HandleState state;
        state.recordLock = kNoLock;
        if (station.name == "INVOICE-RUN" && file != kOrders) {
            state.transactionState = kExclusiveTransaction;
            state.recordLock = kMultipleLocks;
        } else if (station.writesPerSecond > 1 && !waits(station, second) && chance() < 0.3) {
            state.transactionState = kConcurrentTransaction;
            state.recordLock = kSingleLock;
        }
        const bool waitsLong = file == kStock && waits(station, second);
        const bool waitsShortly = file == kOrders && station.writesPerSecond > 1 && chance() < 0.004;
        if (waitsLong || waitsShortly) {
            state = {};
            state.recordLock = kNoLock;
            state.waitState = kWaitsForRecord;
        }
        return state;
    }

    Record begun(std::int64_t second, NameTable& names, std::vector<EventItem> events) {
        Record record;
        record.run = m_run;
        record.number = m_number++;
        record.epochMs = epochMs(second);
        record.monotonicUs = (second + 5'000) * 1'000'000;
        record.intervalMs = static_cast<std::uint64_t>(m_interval) * 1000;
        record.server = names.add("shop");
        record.recorder = names.add("16.11.6");
        record.scope = HandleScope::kAll;
        record.tookUs = 2'400;
        record.engineVersion = names.add("13.10.028");
        record.engineType = 6;
        record.events = std::move(events);
        return record;
    }

    void writeFailure(std::int64_t second, bool isGone) {
        NameTable names;
        Record record = begun(second, names,
                              {event(isGone ? EventKind::kConnectFailed : EventKind::kConnectionLost, second,
                                     isGone ? "The engine cannot be reached: 3012: The engine is not running."
                                            : "The engine does not answer any more: 3014: The connection was lost.")});
        record.events.front().status = isGone ? 3012 : 3014;
        for (SectionResult& section : record.sections)
            section = {SectionState::kFailed, 1, isGone ? 3012 : 3014, 0, 10, 0, "The engine is not running."};
        store(record, names);
    }

    void writeRecord(std::int64_t second, std::vector<EventItem> events) {
        NameTable names;
        Record record = begun(second, names, std::move(events));
        for (SectionResult& section : record.sections)
            section = {SectionState::kWhole, 1, 0, 0, 400, 0, {}};
        std::vector<std::vector<HandleState>> states;
        for (const Station& station : m_stations) {
            states.emplace_back();
            for (const std::size_t file : station.files)
                states.back().push_back(stateOf(station, file, second));
        }
        addFiles(record, names, states);
        addSessions(record, names, states);
        for (std::size_t place = 0; place < 3; ++place)
            record.connections.push_back({names.add("webshop"), names.add("web1"), names.add("192.168.20.40"),
                                          names.add("shopd"), names.add("SHOP"), 1, 1250, 86'400});
        addTotals(record, second);
        store(record, names);
    }
    void store(Record& record, NameTable& names) {
        record.names = names.take();
        addWaits(record, m_before.get());
        m_writer.write(record);
        m_before = record.has(Section::kFiles) ? std::make_shared<const Record>(std::move(record)) : nullptr;
    }

    static void count(HandleCounts& counts, const HandleState& state) {
        ++counts.all;
        counts.waiting += state.waitState != 0 ? 1U : 0U;
        counts.locking += locks(state) ? 1U : 0U;
    }
    static std::string pathOf(std::size_t file) { return std::string("/srv/shop/data/") + kFiles[file] + ".DAT"; }

    void addFiles(Record& record, NameTable& names, const std::vector<std::vector<HandleState>>& states) {
        for (std::size_t place = 0; place < std::size(kFiles); ++place) {
            FileItem file;
            file.name = names.add(pathOf(place));
            file.pageSizeBytes = 4096;
            file.sizeBytes = m_fileKilobytes[place] * 1024;
            file.readOnly = file.transactionLock = 'N';
            file.readLocks = 'Y';
            file.handles.first = static_cast<std::uint32_t>(record.fileHandles.size());
            for (std::size_t client = 0; client < m_stations.size(); ++client) {
                const auto& files = m_stations[client].files;
                const auto found = std::find(files.begin(), files.end(), place);
                if (found == files.end()) continue;
                const HandleState& state = states[client][static_cast<std::size_t>(found - files.begin())];
                record.fileHandles.push_back(
                    {static_cast<std::uint32_t>(client), names.add(m_stations[client].name), state});
                count(file.counts, state);
            }
            file.handles.count = file.counts.all;
            record.files.push_back(file);
        }
    }
    void addSessions(Record& record, NameTable& names, const std::vector<std::vector<HandleState>>& states) const {
        for (std::size_t client = 0; client < m_stations.size(); ++client) {
            const Station& station = m_stations[client];
            SessionItem session = station.counters;
            session.name = session.clientId = names.add(station.name);
            session.idWord = static_cast<std::uint16_t>(station.since % 60'000);
            session.connectionNumber = static_cast<std::uint32_t>(client + 1);
            session.address = names.add(station.address);
            session.handles.first = static_cast<std::uint32_t>(record.sessionHandles.size());
            for (std::size_t place = 0; place < station.files.size(); ++place) {
                record.sessionHandles.push_back({names.add(pathOf(station.files[place])), states[client][place]});
                count(session.counts, states[client][place]);
            }
            session.locksUsed = session.counts.locking;
            session.handles.count = session.counts.all;
            record.sessions.push_back(session);
        }
    }
    void addTotals(Record& record, std::int64_t second) {
        std::uint64_t locked = 0;
        std::uint64_t transactions = 0;
        for (const SessionHandleItem& handle : record.sessionHandles) {
            locked += locks(handle.state) ? (handle.state.recordLock == kMultipleLocks ? 60U : 1U) : 0U;
            transactions += handle.state.transactionState != 0 ? 1U : 0U;
        }
        const auto amount = [this](std::size_t place, std::uint64_t current, std::int64_t limit) {
            if (m_peaks.size() <= place) m_peaks.resize(place + 1);
            m_peaks[place] = std::max(m_peaks[place], current);
            return Amount{current, m_peaks[place], limit};
        };
        const std::uint64_t sessions = m_stations.size();
        std::uint64_t kilobytes = 0;
        for (const std::uint64_t size : m_fileKilobytes)
            kilobytes += size;
        record.usage = Usage{amount(0, sessions, 0),
                             amount(1, record.files.size(), 0),
                             amount(2, record.fileHandles.size(), 0),
                             amount(3, transactions, 0),
                             amount(4, sessions + 2, 0),
                             amount(5, 4 + sessions / 3, 64),
                             amount(6, locked, 0),
                             amount(7, kilobytes / 1024 << 20U, std::int64_t{1024} << 20U),
                             amount(8, sessions, static_cast<std::int64_t>(kSessionLimit)),
                             static_cast<std::uint64_t>(second - m_engineStart)};
        record.communication = Communication{
            m_requests, {0, 0, 0},
             amount(9, sessions, 0), amount(10, 4 + sessions / 3, 64), 0, 0
        };
        record.protocols = {
            {4, m_requests, sessions, m_peaks[8]}
        };
    }

    HistoryWriter m_writer;
    const std::int64_t m_start;
    const std::int64_t m_interval;
    std::mt19937 m_dice{20};  // always the same night
    std::vector<Station> m_stations;
    std::vector<std::uint64_t> m_fileKilobytes;
    std::vector<std::uint64_t> m_peaks;
    std::uint64_t m_requests = 4'000'000;
    std::int64_t m_engineStart = -441'873;
    std::uint64_t m_run = 0;
    std::uint64_t m_number = 0;
    RecordPtr m_before;
};

}  // namespace

int main(int argc, char** argv) {
    vexo::prepareProcess();
    if (argc < 2) {
        std::fputs("simulated-night HISTORY [END [INTERVAL_SECONDS]]\n", stderr);
        return 1;
    }
    try {
        Night(argv[1], argc > 2 ? std::atoll(argv[2]) : std::time(nullptr), argc > 3 ? std::atoll(argv[3]) : 10)
            .write();
    } catch (const Exception& error) {
        std::fprintf(stderr, "%s\n", narrow(error.message()).c_str());
        return 1;
    }
}
