// SPDX-License-Identifier: MIT
#include "record/RecordCollector.h"

#include <chrono>
#include <unordered_map>
#include <utility>

#include "record/Codes.h"
#include "record/Waits.h"
#include "status/QRIException.h"

namespace vexo {
namespace {

constexpr std::uint64_t kBytesPerKilobyte = 1024;
constexpr std::uint64_t kBytesPerMegabyte = 1024 * kBytesPerKilobyte;
constexpr std::uint32_t kMostAttempts = 2;

// The names of one record. The collectors share the texts of clients and files within a snapshot, so a text seen before
// is known by its place.
class NameBook {
public:
    NameId add(StringView text) { return m_table.add(narrow(text)); }
    NameId addBytes(std::string_view bytes) { return m_table.add(bytes); }
    NameId addShared(const SharedString& text) {
        if (text.empty()) return kNoName;
        const auto [entry, fresh] = m_known.try_emplace(text.view().data(), kNoName);
        if (fresh) entry->second = add(text.view());
        return entry->second;
    }
    // The texts known by their place are gone: the snapshot that held them is.
    void forgetShared() { m_known.clear(); }
    Names take() { return m_table.take(); }

private:
    NameTable m_table;
    std::unordered_map<const wchar_t*, NameId> m_known;
};

template <typename Handle>
HandleState stateOf(const Handle& handle) {
    return {static_cast<std::uint16_t>(handle.transactionState), static_cast<std::uint8_t>(handle.openMode),
            static_cast<std::uint8_t>(handle.recordLockType), static_cast<std::uint8_t>(handle.waitState)};
}

// Counts the handles of an item and adds those that the scope asks for to `items`.
template <typename Handle, typename Item, typename ToItem>
void addHandles(const List<Handle>& handles, HandleScope scope, std::vector<Item>& items, HandleCounts& counts,
                HandleRange& range, ToItem toItem) {
    range.first = static_cast<std::uint32_t>(items.size());
    for (const Ref<Handle>& handle : handles) {
        const HandleState state = stateOf(*handle);
        ++counts.all;
        counts.waiting += waits(state) ? 1U : 0U;
        counts.locking += locks(state) ? 1U : 0U;
        if (scope == HandleScope::kAll || isNoted(state)) items.push_back(toItem(*handle, state));
    }
    range.count = static_cast<std::uint32_t>(items.size()) - range.first;
}

// Fills one record, a section at a time. A section is fetched whole before anything of it is kept.
class Builder {
public:
    Builder(QRIMonitorHelper& engine, Record& record) : m_engine(engine), m_record(record) {}

    NameBook& names() { return m_names; }
    void read(Section section);
    void finish() {
        m_record.names = m_names.take();
        m_record.files.shrink_to_fit();
        m_record.fileHandles.shrink_to_fit();
        m_record.sessions.shrink_to_fit();
        m_record.sessionHandles.shrink_to_fit();
    }

private:
    Handles handles() const { return m_record.scope == HandleScope::kNone ? Handles::kNone : Handles::kAll; }
    void readFiles();
    void readSessions();
    void addSession(const SessionInfo& info);
    void readConnections();
    void readUsage();
    void readCommunications();

    QRIMonitorHelper& m_engine;
    Record& m_record;
    NameBook m_names;
};

void Builder::read(Section section) {
    switch (section) {
        case Section::kFiles:
            return readFiles();
        case Section::kSessions:
            return readSessions();
        case Section::kConnections:
            return readConnections();
        case Section::kUsage:
            return readUsage();
        case Section::kCommunications:
            return readCommunications();
    }
}

void Builder::readFiles() {
    const auto files = m_engine.collectFiles(handles());
    for (const Ref<FileInfo>& info : *files) {
        FileItem file;
        file.name = m_names.add(info->fileName);
        file.pageSizeBytes = static_cast<std::uint32_t>(info->pageSize);
        file.sizeBytes = static_cast<std::uint64_t>(info->physicalFileSizeKB) * kBytesPerKilobyte;
        file.readOnly = static_cast<std::uint8_t>(info->readOnlyFlag);
        file.readLocks = static_cast<std::uint8_t>(info->readLocks);
        file.transactionLock = static_cast<std::uint8_t>(info->transactionLock);
        addHandles(*info->handles, m_record.scope, m_record.fileHandles, file.counts, file.handles,
                   [this](const FileHandleInfo& handle, const HandleState& state) {
                       return FileHandleItem{static_cast<std::uint32_t>(handle.clientIndex),
                                             m_names.addShared(handle.clientName), state};
                   });
        m_record.files.push_back(file);
    }
    m_names.forgetShared();
}

void Builder::readSessions() {
    const auto sessions = m_engine.collectSessions(handles());
    for (const Ref<SessionInfo>& info : *sessions)
        addSession(*info);
    m_names.forgetShared();
}

void Builder::addSession(const SessionInfo& info) {
    SessionItem session;
    session.name = m_names.add(info.sessionName);
    session.clientId = m_names.add(info.clientId->idText);
    session.idWord = static_cast<std::uint16_t>(info.clientId->idWord);
    session.taskNumber = static_cast<std::uint16_t>(info.clientId->taskNumber);
    session.site = info.site;
    session.transactionState = info.transactionState;
    session.pid = static_cast<std::uint32_t>(info.pid);
    session.connectionNumber = static_cast<std::uint32_t>(info.connectionNumber);
    session.address = m_names.add(info.networkAddress);
    session.recordsRead = static_cast<std::uint32_t>(info.recordsRead);
    session.recordsInserted = static_cast<std::uint32_t>(info.recordsInserted);
    session.recordsUpdated = static_cast<std::uint32_t>(info.recordsUpdated);
    session.recordsDeleted = static_cast<std::uint32_t>(info.recordsDeleted);
    session.diskAccesses = static_cast<std::uint32_t>(info.diskAccesses);
    session.cacheAccesses = static_cast<std::uint32_t>(info.cacheAccesses);
    session.locksUsed = static_cast<std::uint32_t>(info.locksUsed);
    session.spareCode = static_cast<std::uint16_t>(info.spareCode);
    addHandles(*info.handles, m_record.scope, m_record.sessionHandles, session.counts, session.handles,
               [this](const SessionHandleInfo& handle, const HandleState& state) {
                   return SessionHandleItem{m_names.addShared(handle.fileName), state};
               });
    m_record.sessions.push_back(session);
}

void Builder::readConnections() {
    const auto connections = m_engine.getConnInfoList();
    for (const Ref<ConnInfo>& info : *connections) {
        m_record.connections.push_back(
            {m_names.add(info->userName), m_names.add(info->clientHostName), m_names.add(info->networkAddress),
             m_names.add(info->clientApplication), m_names.add(info->dataSourceName),
             static_cast<std::uint16_t>(info->connectionStatus), static_cast<std::uint32_t>(info->activeIdlePeriodMs),
             static_cast<std::uint32_t>(info->totalConnectionTime)});
    }
}

void Builder::readUsage() {
    const auto stats = m_engine.getUsageStats();
    constexpr auto kLimitUnit = static_cast<std::int64_t>(kBytesPerMegabyte);
    Usage usage;
    usage.users = {stats->userCountCurrent, stats->userCountPeak, stats->userCountMax};
    usage.files = {stats->filesCurrent, stats->filesPeak, stats->filesMax};
    usage.handles = {stats->handlesCurrent, stats->handlesPeak, stats->handlesMax};
    usage.transactions = {stats->transactionsCurrent, stats->transactionsPeak, stats->transactionsMax};
    usage.clients = {stats->clientsCurrent, stats->clientsPeak, stats->clientsMax};
    usage.workerThreads = {stats->workerThreadsCurrent, stats->workerThreadsPeak, stats->workerThreadsMax};
    usage.locks = {stats->locksCurrent, stats->locksPeak, 0};
    usage.dataInUseBytes = {stats->dataInUseMBCurrent * kBytesPerMegabyte, stats->dataInUseMBPeak * kBytesPerMegabyte,
                            stats->dataInUseMBMax * kLimitUnit};
    usage.sessions = {stats->sessionCountCurrent, stats->sessionCountPeak, stats->sessionCountMax};
    usage.uptimeSeconds = stats->engineUptimeSecs;
    m_record.usage = usage;
}

void Builder::readCommunications() {
    const auto stats = m_engine.getCommStats();
    Communication communication;
    communication.requests = stats->totalRequestsProcessed;
    communication.furtherCounts = {stats->unshownCount1, stats->unshownCount2, stats->unshownCount3};
    communication.remoteSessions = {stats->remoteSessionsCurrent, stats->remoteSessionsPeak,
                                    static_cast<std::int64_t>(stats->remoteSessionsMax)};
    communication.threads = {stats->commThreadsCurrent, stats->commThreadsPeak,
                             static_cast<std::int64_t>(stats->commThreadsMax)};
    communication.connectionTimeouts = stats->totalConnectionTimeouts;
    communication.connectionRecoveries = stats->totalConnectionRecoveries;
    m_record.communication = communication;
    for (const Ref<ProtocolStats>& protocol : *stats->protocols) {
        m_record.protocols.push_back({static_cast<std::uint32_t>(protocol->protocolType), protocol->requestsProcessed,
                                      protocol->remoteSessionsCurrent, protocol->remoteSessionsPeak});
    }
}

// The engine moved on while it was read: another attempt may find it at rest.
bool isPassing(int status) {
    return status == XR_CLIENT_GONE || status == XR_FILE_GONE;
}

template <typename Clock, typename Unit>
std::int64_t countOf() {
    return std::chrono::duration_cast<Unit>(Clock::now().time_since_epoch()).count();
}

}  // namespace

std::int64_t RecordClocks::systemEpochMs() {
    return countOf<std::chrono::system_clock, std::chrono::milliseconds>();
}

std::int64_t RecordClocks::systemMonotonicUs() {
    return countOf<std::chrono::steady_clock, std::chrono::microseconds>();
}

RecordCollector::RecordCollector(QRIMonitorHelper& engine, const RecordPlan& plan, RecordClocks clocks)
    : m_engine(engine), m_plan(plan), m_clocks(clocks) {
}

std::shared_ptr<Record> RecordCollector::collect(RecordFrame frame) {
    auto record = std::make_shared<Record>();
    Builder builder(m_engine, *record);
    askEngine();
    record->server = builder.names().addBytes(frame.server);
    record->recorder = builder.names().addBytes(frame.recorder);
    record->engineVersion = builder.names().addBytes(m_engineVersion);
    record->engineType = m_engineType;
    record->run = frame.run;
    record->number = frame.number;
    record->intervalMs = frame.intervalMs;
    record->events = std::move(frame.events);
    record->scope = m_plan.scope;
    record->epochMs = m_clocks.epochMs();
    record->monotonicUs = m_clocks.monotonicUs();
    for (const Section section : kAllSections) {
        if (!m_plan.asks(section)) continue;
        record->sections[static_cast<std::size_t>(section)] =
            attempt(record->monotonicUs, [&] { builder.read(section); });
    }
    record->tookUs = static_cast<std::uint64_t>(m_clocks.monotonicUs() - record->monotonicUs);
    builder.finish();
    if (!record->has(Section::kFiles)) return record;
    addWaits(*record, m_before.get());
    if (record->scope != HandleScope::kNone) m_before = record;
    return record;
}

// A record goes without what the engine does not tell, and the next one asks again.
void RecordCollector::askEngine() {
    try {
        if (m_engineVersion.empty()) m_engineVersion = narrow(m_engine.getEngineVersion());
        if (!m_engineType) m_engineType = static_cast<std::uint32_t>(m_engine.getEngineType());
    } catch (const QRIException&) {
    }
}

template <typename Read>
SectionResult RecordCollector::attempt(std::int64_t recordStartUs, Read read) {
    SectionResult result;
    const std::int64_t firstStartUs = m_clocks.monotonicUs();
    bool again = true;
    while (again) {
        const std::uint64_t vanishedBefore = m_engine.vanished();
        result.startedUs = static_cast<std::uint64_t>(m_clocks.monotonicUs() - recordStartUs);
        ++result.attempts;
        try {
            read();
            result.state = SectionState::kWhole;
            result.status = 0;
            result.text.clear();
            again = false;
        } catch (const QRIException& error) {
            result.state = SectionState::kFailed;
            result.status = error.getErrorCode();
            result.text = narrowUtf8(error.message());
            again = isPassing(result.status) && result.attempts < kMostAttempts;
        }
        result.vanished = m_engine.vanished() - vanishedBefore;
    }
    result.tookUs = static_cast<std::uint64_t>(m_clocks.monotonicUs() - firstStartUs);
    return result;
}

}  // namespace vexo
