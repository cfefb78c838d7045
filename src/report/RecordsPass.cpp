// SPDX-License-Identifier: MIT
#include "report/RecordsPass.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <string_view>
#include <utility>

#include "foundation/Encoding.h"
#include "record/Codes.h"
#include "record/Identity.h"
#include "record/JsonText.h"
#include "record/Rates.h"
#include "record/Waits.h"
#include "report/NumbersPass.h"
#include "report/RecordWalk.h"

namespace vexo {
namespace {

// Candidates are looked for in so many waits, as long as this many items are unpacked for it.
constexpr std::size_t kHolderWaits = 25;
constexpr std::uint64_t kHolderItems = 3'000'000;
constexpr std::size_t kHolders = 3;
constexpr std::size_t kShownSessions = 20;
constexpr std::size_t kShownFiles = 20;

// As the tables of a history have it, so that the names of both can be compared.
std::string tableText(std::string_view bytes) {
    return isUtf8(bytes) ? std::string(bytes) : replacedText(bytes);
}

struct Work {
    std::uint64_t read = 0;
    std::uint64_t written = 0;
    std::uint64_t disk = 0;
    std::uint64_t cache = 0;
};

using Counters = std::array<std::uint32_t, 6>;

Counters countersOf(const SessionItem& session) {
    return {session.recordsRead,    session.recordsInserted, session.recordsUpdated,
            session.recordsDeleted, session.diskAccesses,    session.cacheAccesses};
}

Work workOf(const Counters& counters) {
    const auto& [read, inserted, updated, deleted, disk, cache] = counters;
    return {read, std::uint64_t{inserted} + updated + deleted, disk, cache};
}

// What the counters grew by. Where one fell the session is another one, and all of it is new; unless it is the same
// client's and each counter went on from 2^32 to 0, or grew, by less than half of that.
Counters growth(const SessionItem& before, const SessionItem& now) {
    constexpr std::uint32_t kHalf = 1U << 31U;
    const Counters old = countersOf(before);
    const Counters current = countersOf(now);
    Counters grown = {};
    std::transform(current.begin(), current.end(), old.begin(), grown.begin(), std::minus<std::uint32_t>());
    const bool hasFallen = !std::equal(current.begin(), current.end(), old.begin(), std::greater_equal<>());
    const bool isSameClient = before.pid == now.pid && before.connectionNumber == now.connectionNumber;
    const bool goesOn = isSameClient && *std::max_element(grown.begin(), grown.end()) < kHalf;
    return !hasFallen || goesOn ? grown : current;
}

// Sums up record by record.
class Tally {
public:
    explicit Tally(ReportData& data) : m_data(data) {}

    void take(const RecordPtr& record) {
        ++m_data.recordsRead;
        if (record->has(Section::kConnections))
            m_data.of(Series::kConnections).add(record->epochMs, static_cast<double>(record->connections.size()));
        if (record->has(Section::kSessions)) takeSessions(record);
        if (record->has(Section::kFiles)) takeFiles(*record);
    }

    void finish() {
        for (auto& [name, use] : m_sessions)
            use.waitedMs = waited(m_data.waitedByClient, name);
        for (auto& [name, file] : m_files)
            file.use.waitedMs = waited(m_data.waitedByFile, name);
        m_data.sessions = most<SessionUse>(m_sessions, kShownSessions, [](const auto& one) {
            const SessionUse& use = one.second;
            return std::tuple(use.recordsRead + use.recordsWritten, use.diskAccesses + use.cacheAccesses, use.waitedMs);
        });
        std::map<std::string, FileUse> files;
        for (auto& [name, file] : m_files) {
            file.use.grownBytes =
                static_cast<std::int64_t>(file.use.sizeBytes) - static_cast<std::int64_t>(file.firstBytes);
            files[name] = file.use;
        }
        m_data.files = most<FileUse>(files, kShownFiles, [](const auto& one) {
            const FileUse& use = one.second;
            return std::tuple(use.waitedMs, std::abs(use.grownBytes), use.mostHandles);
        });
    }

private:
    struct File {
        FileUse use;
        std::uint64_t firstBytes = 0;
    };

    static std::uint64_t waited(const std::map<std::string, std::uint64_t>& times, const std::string& name) {
        const auto found = times.find(name);
        return found != times.end() ? found->second : 0;
    }

    template <typename Use, typename WeightOf>
    static Most<Use> most(const std::map<std::string, Use>& uses, std::size_t shown, WeightOf weightOf) {
        std::vector<std::pair<std::string, Use>> all(uses.begin(), uses.end());
        const std::size_t kept = std::min(shown, all.size());
        std::partial_sort(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(kept), all.end(),
                          [&](const auto& one, const auto& other) {
                              const auto left = weightOf(one);
                              const auto right = weightOf(other);
                              return left != right ? left > right : one.first < other.first;
                          });
        Most<Use> result;
        result.all = all.size();
        for (std::size_t place = 0; place < kept; ++place) {
            result.items.push_back(all[place].second);
            result.items.back().name = all[place].first;
        }
        return result;
    }

    void takeSessions(const RecordPtr& now) {
        const RecordPtr before = std::exchange(m_before, now);
        const bool continues = before && !restartedBetween(*before, *now);
        const Matches matches = continues ? matchSessions(*before, *now) : Matches(now->sessions.size(), kNew);
        Work all;
        for (std::size_t place = 0; place < now->sessions.size(); ++place) {
            const SessionItem& session = now->sessions[place];
            SessionUse& use = m_sessions[tableText(now->name(session.name))];
            use.address = tableText(now->name(session.address));
            if (matches[place] == kNew) ++use.sessions;
            if (!before) continue;  // what came before the span does not count
            const Work grown = workOf(matches[place] == kNew ? countersOf(session)
                                                             : growth(before->sessions[matches[place]], session));
            use.recordsRead += grown.read;
            use.recordsWritten += grown.written;
            use.diskAccesses += grown.disk;
            use.cacheAccesses += grown.cache;
            all.read += grown.read;
            all.written += grown.written;
        }
        const auto seconds = before ? secondsBetween(*before, *now, Section::kSessions) : std::nullopt;
        if (!seconds) return;
        m_data.of(Series::kRecordsRead)
            .addBetween(before->epochMs, now->epochMs, static_cast<double>(all.read) / *seconds);
        m_data.of(Series::kRecordsWritten)
            .addBetween(before->epochMs, now->epochMs, static_cast<double>(all.written) / *seconds);
    }

    void takeFiles(const Record& record) {
        for (const FileItem& item : record.files) {
            const auto [entry, isNew] = m_files.try_emplace(tableText(record.name(item.name)));
            File& file = entry->second;
            if (isNew) file.firstBytes = item.sizeBytes;
            file.use.sizeBytes = item.sizeBytes;
            file.use.mostHandles = std::max<std::uint64_t>(file.use.mostHandles, item.counts.all);
        }
    }

    ReportData& m_data;
    RecordPtr m_before;
    std::map<std::string, SessionUse> m_sessions;
    std::map<std::string, File> m_files;
};

void readAll(RecordWalk& records, Tally& tally) {
    while (const RecordPtr record = records.next())
        tally.take(record);
}

void readSome(RecordWalk& records, RecordRange range, const std::vector<std::uint64_t>& keys, std::size_t count,
              Tally& tally) {
    std::vector<std::uint64_t> numbers = {range.first};
    for (std::size_t place = 0; place < count; ++place)
        numbers.push_back(keys[place * keys.size() / count]);
    numbers.push_back(range.last);
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    for (const std::uint64_t number : numbers)
        if (const RecordPtr record = records.goTo(number)) tally.take(record);
}

std::string holderName(const Record& record, std::uint32_t handle) {
    return tableText(record.name(record.fileHandles[handle].client));
}

void findHolders(RecordWalk& records, ReportData& data) {
    const std::uint64_t itemsEach = data.items / std::max<std::uint64_t>(data.records, 1) + 1;
    constexpr std::uint64_t kChain = 60;
    const std::size_t count = std::min<std::uint64_t>(kHolderItems / (itemsEach * kChain) + 1, kHolderWaits);
    for (std::size_t place = 0; place < std::min(count, data.waits.items.size()); ++place) {
        ReportWait& wait = data.waits.items[place];
        const RecordPtr record = records.goTo(wait.records.last);
        if (!record) continue;
        const auto found = std::find_if(record->waits.begin(), record->waits.end(), [&](const WaitItem& item) {
            return tableText(record->name(item.file)) == wait.file &&
                   tableText(record->name(item.client)) == wait.client;
        });
        if (found == record->waits.end()) continue;
        for (const std::uint32_t handle : mayHold(*record, *found)) {
            std::string name = holderName(*record, handle);
            if (std::find(wait.holders.begin(), wait.holders.end(), name) != wait.holders.end()) continue;
            if (wait.holders.size() < kHolders) {
                wait.holders.push_back(std::move(name));
            } else {
                ++wait.moreHolders;
            }
        }
    }
}

}  // namespace

void readRecords(const std::string& path, RecordRange range, const std::vector<std::uint64_t>& keys,
                 std::uint64_t mostItems, ReportData& data) {
    RecordWalk records(path, range);
    Tally tally(data);
    if (data.items <= mostItems) {
        readAll(records, tally);
    } else {
        const std::uint64_t itemsEach = data.items / data.records + 1;
        const auto count = std::min<std::uint64_t>(mostItems / itemsEach, keys.size());
        readSome(records, range, keys, static_cast<std::size_t>(count), tally);
        const std::int64_t apartMs = (data.lastMs - data.firstMs) / static_cast<std::int64_t>(count + 1);
        for (const Series which : {Series::kConnections, Series::kRecordsRead, Series::kRecordsWritten}) {
            data.of(which).isSampled = true;
            data.of(which).bridgeMs = gapAfterMs(apartMs);
        }
    }
    tally.finish();
    findHolders(records, data);
    data.damage = records.lost();
}

}  // namespace vexo
