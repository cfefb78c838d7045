// SPDX-License-Identifier: MIT
#include "report/NumbersPass.h"

#include <algorithm>
#include <functional>
#include <map>
#include <queue>
#include <utility>

namespace vexo {
namespace {

constexpr std::size_t kGaps = 100;
constexpr double kMicrosPerSecond = 1e6;

// How many wait, record by record.
class WaitingCount {
public:
    explicit WaitingCount(const std::vector<RecordRange>& waiting) : m_waiting(waiting) {}

    std::size_t at(std::uint64_t record) {
        while (m_next < m_waiting.size() && m_waiting[m_next].first <= record)
            m_ends.push(m_waiting[m_next++].last);
        while (!m_ends.empty() && m_ends.top() < record)
            m_ends.pop();
        return m_ends.size();
    }

private:
    const std::vector<RecordRange>& m_waiting;
    std::size_t m_next = 0;
    std::priority_queue<std::uint64_t, std::vector<std::uint64_t>, std::greater<>> m_ends;
};

// Collects the resources in the order of the page.
class Resources {
public:
    void add(const RecordNumbers& row) {
        std::size_t place = 0;
        const auto take = [&](const char* key, const Amount& amount, Quantity quantity = Quantity::kCount) {
            if (m_uses.size() <= place) m_uses.resize(place + 1);
            addTo(m_uses[place], row.epochMs, amount);
            m_uses[place].key = key;
            m_uses[place++].quantity = quantity;
        };
        if (row.usage) {
            const Usage& usage = *row.usage;
            take("RESOURCE_SESSIONS", usage.sessions);
            take("RESOURCE_USERS", usage.users);
            take("RESOURCE_CLIENTS", usage.clients);
            take("RESOURCE_FILES", usage.files);
            take("RESOURCE_HANDLES", usage.handles);
            take("RESOURCE_LOCKS", usage.locks);
            take("RESOURCE_TRANSACTIONS", usage.transactions);
            take("RESOURCE_THREADS", usage.workerThreads);
            take("RESOURCE_DATA", usage.dataInUseBytes, Quantity::kBytes);
        }
        place = kOfUsage;
        if (row.communication) {
            take("RESOURCE_REMOTE", row.communication->remoteSessions);
            take("RESOURCE_COMM_THREADS", row.communication->threads);
        }
    }
    std::vector<ResourceUse> take() {
        m_uses.erase(
            std::remove_if(m_uses.begin(), m_uses.end(), [](const ResourceUse& use) { return use.current.count == 0; }),
            m_uses.end());
        return std::move(m_uses);
    }

private:
    static constexpr std::size_t kOfUsage = 9;

    static void addTo(ResourceUse& use, std::int64_t epochMs, const Amount& amount) {
        use.current.add(epochMs, static_cast<double>(amount.current));
        use.peak = amount.peak;
        use.limit = amount.limit == 0 ? std::nullopt : std::optional(amount.limit);
        if (use.reachedLimit || amount.limit <= 0 || amount.current < static_cast<std::uint64_t>(amount.limit)) return;
        use.reachedLimit = amount.limit;
        use.reachedAtMs = epochMs;
    }

    std::vector<ResourceUse> m_uses;
};

class Gaps {
public:
    Gaps(const std::vector<HistoryRun>& runs, std::int64_t usualMs) {
        for (const HistoryRun& run : runs)
            m_after[run.run] = run.intervalMs > 0 ? gapAfterMs(static_cast<std::int64_t>(run.intervalMs)) : usualMs;
    }

    void add(const RecordNumbers& row, bool isAnswered) {
        const bool isFirst = m_last.number == 0;
        if (isAnswered && !isFirst) look(row);
        // Where the span begins without an answer, the gap begins with it.
        if (isAnswered || isFirst) m_last = row;
        m_hasUnanswered = !isAnswered;
    }
    void finish(std::int64_t lastMs, ReportData& data) {
        // The engine did not answer until the end.
        if (m_hasUnanswered && m_last.number != 0) {
            RecordNumbers end = m_last;
            end.epochMs = lastMs;
            end.monotonicUs += (lastMs - m_last.epochMs) * 1000;
            look(end);
        }
        data.gaps.all = m_gaps.size();
        for (const ReportGap& gap : m_gaps)
            data.gapsMs += gap.lengthMs;
        keepLongest();
        data.gaps.items = std::move(m_gaps);
    }

private:
    void look(const RecordNumbers& row) {
        const bool sameRun = row.run == m_last.run;
        // Within a run the clock that is never set counts.
        const std::int64_t apartMs =
            sameRun ? (row.monotonicUs - m_last.monotonicUs) / 1000 : row.epochMs - m_last.epochMs;
        if (apartMs <= m_after[row.run]) return;
        using Cause = ReportGap::Cause;
        m_gaps.push_back({m_last.epochMs, row.epochMs, static_cast<std::uint64_t>(apartMs),
                          m_hasUnanswered ? Cause::kNoAnswer
                          : sameRun       ? Cause::kNoRecords
                                          : Cause::kNoRecorder});
    }
    void keepLongest() {
        if (m_gaps.size() <= kGaps) return;
        std::nth_element(m_gaps.begin(), m_gaps.begin() + kGaps, m_gaps.end(),
                         [](const ReportGap& one, const ReportGap& other) { return one.lengthMs > other.lengthMs; });
        m_gaps.resize(kGaps);
        std::sort(m_gaps.begin(), m_gaps.end(),
                  [](const ReportGap& one, const ReportGap& other) { return one.startMs < other.startMs; });
    }

    std::map<std::uint64_t, std::int64_t> m_after;  // by run
    std::vector<ReportGap> m_gaps;
    RecordNumbers m_last;
    bool m_hasUnanswered = false;
};

// The series of the use of resources.
void addUsage(ReportData& data, std::int64_t epochMs, const Usage& usage) {
    const std::pair<Series, const Amount*> amounts[] = {
        {Series::kSessions,     &usage.sessions      },
        {Series::kHandles,      &usage.handles       },
        {Series::kLocks,        &usage.locks         },
        {Series::kTransactions, &usage.transactions  },
        {Series::kDataInUse,    &usage.dataInUseBytes}
    };
    for (const auto& [which, amount] : amounts) {
        SeriesData& series = data.of(which);
        series.add(epochMs, static_cast<double>(amount->current));
        series.limit = amount->limit > 0 ? std::optional(static_cast<double>(amount->limit)) : std::nullopt;
    }
}

// Whether the counters of `row` go on from those of `last`.
bool goesOn(const RecordNumbers& last, const RecordNumbers& row) {
    const bool isRestarted = last.usage && row.usage && row.usage->uptimeSeconds < last.usage->uptimeSeconds;
    return last.number != 0 && last.run == row.run && row.monotonicUs > last.monotonicUs && !isRestarted;
}

void addRequests(ReportData& data, const RecordNumbers& last, const RecordNumbers& row) {
    if (!row.communication || !last.communication || !goesOn(last, row)) return;
    const std::uint64_t before = last.communication->requests;
    const std::uint64_t now = row.communication->requests;
    if (now < before) return;
    const double seconds = static_cast<double>(row.monotonicUs - last.monotonicUs) / kMicrosPerSecond;
    data.of(Series::kRequests).add(row.epochMs, static_cast<double>(now - before) / seconds);
}

// Sums up what the protocols did.
class Protocols {
public:
    void add(const RecordNumbers& row) {
        for (const ProtocolItem& protocol : row.protocols) {
            ProtocolUse& use = m_uses[protocol.type];
            use.type = protocol.type;
            use.sessions.add(row.epochMs, static_cast<double>(protocol.sessionsCurrent));
            Last& last = m_last[protocol.type];
            if (goesOn(last.row, row) && protocol.requests >= last.requests) {
                use.requests += protocol.requests - last.requests;
                use.measuredMs += static_cast<std::uint64_t>((row.monotonicUs - last.row.monotonicUs) / 1000);
            }
            last = {row, protocol.requests};
        }
    }
    std::vector<ProtocolUse> take() const {
        std::vector<ProtocolUse> uses;
        for (const auto& [type, use] : m_uses)
            uses.push_back(use);
        std::stable_sort(uses.begin(), uses.end(), [](const ProtocolUse& one, const ProtocolUse& other) {
            return one.requests > other.requests;
        });
        return uses;
    }

private:
    struct Last {
        RecordNumbers row;
        std::uint64_t requests = 0;
    };
    std::map<std::uint32_t, Last> m_last;
    std::map<std::uint32_t, ProtocolUse> m_uses;
};

// Takes the records of a span one by one.
class Pass {
public:
    Pass(const std::vector<HistoryRun>& runs, const std::vector<RecordRange>& waiting, const Failures& failures,
         ReportData& data)
        : m_data(data),
          m_failures(failures),
          m_waitingNow(waiting),
          m_gaps(runs, data.of(Series::kSessions).bridgeMs) {}

    void take(const RecordNumbers& row) {
        ++m_data.records;
        m_data.items += row.items;
        if (row.isKey) m_keys.push_back(row.number);
        const bool isAnswered = answers(row);
        m_data.unanswered += isAnswered ? 0 : 1;
        m_gaps.add(row, isAnswered);
        m_resources.add(row);
        m_protocols.add(row);
        if (row.usage) addUsage(m_data, row.epochMs, *row.usage);
        if (m_data.knowsWaits && isAnswered)
            m_data.of(Series::kWaiting).add(row.epochMs, static_cast<double>(m_waitingNow.at(row.number)));
        if (!row.communication) return;
        addRequests(m_data, m_lastCounted, row);
        m_lastCounted = row;
    }
    // Gives the numbers of the key records.
    std::vector<std::uint64_t> finish() {
        m_gaps.finish(m_data.lastMs, m_data);
        m_data.resources = m_resources.take();
        m_data.protocols = m_protocols.take();
        return std::move(m_keys);
    }

private:
    // The sections with numbers may be off, or have failed alone: what is not an event came from the engine too.
    bool answers(const RecordNumbers& row) const {
        if (row.usage || row.communication) return true;
        const auto failure = m_failures.find(row.number);
        return failure == m_failures.end() || row.items > failure->second;
    }

    ReportData& m_data;
    const Failures& m_failures;
    std::vector<std::uint64_t> m_keys;
    WaitingCount m_waitingNow;
    Resources m_resources;
    Protocols m_protocols;
    Gaps m_gaps;
    RecordNumbers m_lastCounted;
};

}  // namespace

std::int64_t gapAfterMs(std::int64_t intervalMs) {
    return intervalMs * 5 / 2;
}

std::vector<std::uint64_t> readNumbers(HistoryTables& tables, RecordRange range, const std::vector<HistoryRun>& runs,
                                       const std::vector<RecordRange>& waiting, const Failures& failures,
                                       ReportData& data) {
    Pass pass(runs, waiting, failures, data);
    tables.forEachRecord(range, [&pass](const RecordNumbers& row) { pass.take(row); });
    return pass.finish();
}

}  // namespace vexo
