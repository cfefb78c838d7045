// SPDX-License-Identifier: MIT
// One record: everything that the engine's interface gives in one pass over its sections, as plain values. Nobody
// changes a record once it is built, so threads share it without a lock.
#ifndef VEXO_RECORD_RECORD_H
#define VEXO_RECORD_RECORD_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "record/Names.h"

namespace vexo {

// The sections, in the order in which they are read.
enum class Section : std::uint8_t { kFiles, kSessions, kConnections, kUsage, kCommunications };
inline constexpr std::size_t kSections = 5;
inline constexpr std::array<Section, kSections> kAllSections = {
    Section::kFiles, Section::kSessions, Section::kConnections, Section::kUsage, Section::kCommunications};

// Which handles a record lists. Files and sessions count theirs in any case, unless handles are not asked for at all.
enum class HandleScope : std::uint8_t {
    kNone,   // handles are not asked for: neither counts nor waits are known
    kNoted,  // those that wait, lock or have a transaction
    kAll,
};

// How reading a section went.
enum class SectionState : std::uint8_t { kOff, kWhole, kFailed };

struct SectionResult {
    SectionState state = SectionState::kOff;
    std::uint32_t attempts = 0;
    std::int32_t status = 0;      // of the call that failed; 0 for a whole section
    std::uint64_t startedUs = 0;  // of the attempt that counts, since the record began
    std::uint64_t tookUs = 0;     // all attempts together
    std::uint64_t vanished = 0;   // items left out because they went away while they were read
    std::string text;             // why it failed, fit for the user
};

// A resource. A limit of 0 is no limit; some resources have none at all.
struct Amount {
    std::uint64_t current = 0;
    std::uint64_t peak = 0;
    std::int64_t limit = 0;
};

struct Usage {
    Amount users;
    Amount files;
    Amount handles;
    Amount transactions;
    Amount clients;
    Amount workerThreads;
    Amount locks;           // has no limit
    Amount dataInUseBytes;  // the engine counts megabytes
    Amount sessions;
    std::uint64_t uptimeSeconds = 0;
};

// Counters run since the engine started.
struct Communication {
    std::uint64_t requests = 0;
    std::array<std::uint64_t, 3> furtherCounts{};  // whose meaning the interface does not tell
    Amount remoteSessions;
    Amount threads;
    std::uint64_t connectionTimeouts = 0;
    std::uint64_t connectionRecoveries = 0;
};

struct ProtocolItem {
    std::uint32_t type = 0;  // code
    std::uint64_t requests = 0;
    std::uint64_t sessionsCurrent = 0;
    std::uint64_t sessionsPeak = 0;
};

// How many handles there are, listed or not.
struct HandleCounts {
    std::uint32_t all = 0;
    std::uint32_t waiting = 0;
    std::uint32_t locking = 0;
};

// The handles of one file or session among those of the record: [first, first + count).
struct HandleRange {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

// What a handle does. Codes are the engine's.
struct HandleState {
    std::uint16_t transactionState = 0;
    std::uint8_t openMode = 0;
    std::uint8_t recordLock = 0;
    std::uint8_t waitState = 0;
};

// A handle as the file tells of it.
struct FileHandleItem {
    std::uint32_t clientIndex = 0;  // the engine's number of the client
    NameId client = kNoName;
    HandleState state;
};

// A handle as the session tells of it.
struct SessionHandleItem {
    NameId file = kNoName;
    HandleState state;
};

struct FileItem {
    NameId name = kNoName;
    std::uint32_t pageSizeBytes = 0;
    std::uint64_t sizeBytes = 0;       // the engine counts kilobytes
    std::uint8_t readOnly = 0;         // code
    std::uint8_t readLocks = 0;        // code
    std::uint8_t transactionLock = 0;  // code
    HandleCounts counts;
    HandleRange handles;
};

// Counters run since the session began.
struct SessionItem {
    NameId name = kNoName;
    NameId clientId = kNoName;  // with the next two numbers, how the engine names the client
    std::uint16_t idWord = 0;
    std::uint16_t taskNumber = 0;
    std::int32_t site = 0;              // code, in the low 16 bits
    std::int32_t transactionState = 0;  // code, in the low 16 bits
    std::uint32_t pid = 0;
    std::uint32_t connectionNumber = 0;  // beyond 32000: none
    NameId address = kNoName;
    std::uint32_t recordsRead = 0;
    std::uint32_t recordsInserted = 0;
    std::uint32_t recordsUpdated = 0;
    std::uint32_t recordsDeleted = 0;
    std::uint32_t diskAccesses = 0;
    std::uint32_t cacheAccesses = 0;
    std::uint32_t locksUsed = 0;  // now
    std::uint16_t spareCode = 0;  // whose meaning the interface does not tell
    HandleCounts counts;
    HandleRange handles;
};

struct ConnectionItem {
    NameId user = kNoName;
    NameId host = kNoName;
    NameId address = kNoName;
    NameId application = kNoName;
    NameId dataSource = kNoName;
    std::uint16_t status = 0;     // code: 0 idle, 1 active, else dying
    std::uint32_t periodMs = 0;   // in this status
    std::uint32_t totalTime = 0;  // as the engine counts it
};

// A client that waits for a lock. The engine does not tell since when: `sinceMs` is the first record of an unbroken
// row that shows it, so the wait is at least as long as it says.
struct WaitItem {
    NameId file = kNoName;
    NameId client = kNoName;
    std::uint32_t clientIndex = 0;
    std::uint8_t waitState = 0;  // code: what it waits for
    std::int64_t sinceMs = 0;    // UTC, milliseconds since 1970
    std::uint64_t waitedMs = 0;
};

// What happened to the recording itself.
enum class EventKind : std::uint8_t {
    kStarted,          // recording began
    kConnected,        // the engine answers
    kConnectFailed,    // the engine refused, or is missing
    kConnectionLost,   // every section failed
    kStalled,          // a call has been blocked for longer than allowed
    kResumed,          // a blocked call came back
    kClockChanged,     // the wall clock jumped against the monotonic one
    kTicksMissed,      // the engine took longer than the interval
    kRecordsDropped,   // a sink was too slow or could not write
    kSinkFailed,       // a sink cannot be written
    kSinkRecovered,    // a sink can be written again
    kEngineRestarted,  // its uptime fell
    kStopped,          // recording ended
};

struct EventItem {
    EventKind kind = EventKind::kStarted;
    std::int64_t startMs = 0;            // UTC, milliseconds since 1970
    std::optional<std::int64_t> endMs;   // where it lasted
    std::optional<std::int32_t> status;  // of the engine
    std::optional<std::uint64_t> count;  // ticks, records or milliseconds, as the kind tells
    std::string text;                    // fit for the user
};

struct Record {
    Names names;
    // Where the record stands.
    NameId server = kNoName;                  // as configured; empty for the engine of this machine
    std::uint64_t run = 0;                    // of the recorder; the monotonic clock counts within a run only
    std::uint64_t number = 0;                 // grows by one a record, over all runs of a history
    std::int64_t epochMs = 0;                 // when it began: UTC, milliseconds since 1970
    std::int64_t monotonicUs = 0;             // the same instant by the monotonic clock
    std::uint64_t tookUs = 0;                 // until the last section was read
    std::uint64_t intervalMs = 0;             // of the grid; 0 for a record outside a grid
    NameId recorder = kNoName;                // version of the program that made the record
    NameId engineVersion = kNoName;           // such as "13.10.028"; empty when the engine did not tell
    std::optional<std::uint32_t> engineType;  // 6 and 7 limit sessions and data, the others limit users
    HandleScope scope = HandleScope::kNone;
    std::array<SectionResult, kSections> sections;

    // What the sections hold; empty for a section that is off or failed. Items are in the engine's order.
    std::optional<Usage> usage;
    std::optional<Communication> communication;
    std::vector<ProtocolItem> protocols;
    std::vector<FileItem> files;
    std::vector<FileHandleItem> fileHandles;
    std::vector<SessionItem> sessions;
    std::vector<SessionHandleItem> sessionHandles;
    std::vector<ConnectionItem> connections;
    std::vector<WaitItem> waits;  // in the order of their handles
    std::vector<EventItem> events;

    std::string_view name(NameId id) const { return names[id]; }
    const SectionResult& section(Section which) const { return sections[static_cast<std::size_t>(which)]; }
    bool has(Section which) const { return section(which).state == SectionState::kWhole; }
    // Sections that were asked for, and those of them that failed.
    std::size_t askedSections() const;
    std::size_t failedSections() const;
    // Bytes of memory in use.
    std::size_t footprint() const;
};

using RecordPtr = std::shared_ptr<const Record>;

}  // namespace vexo

#endif
