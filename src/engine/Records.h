// SPDX-License-Identifier: MIT
// What one snapshot of the engine holds, in the program's own types. Filled by QRIMonitorHelper, read by the reports.
// Codes are the engine's numbers, unchanged.
#ifndef VEXO_ENGINE_RECORDS_H
#define VEXO_ENGINE_RECORDS_H

#include <cstdint>
#include <utility>

#include "foundation/List.h"
#include "foundation/Ref.h"
#include "foundation/SharedString.h"
#include "foundation/String.h"

namespace vexo {

// One handle that a client holds on an open file. An engine has millions of them: fields lie close together and names
// are kept once a snapshot.
struct FileHandleInfo : RefCounted {
    FileHandleInfo() = default;
    // Record lock type before open mode, the reverse of the fields: the collectors' established order.
    FileHandleInfo(std::int64_t client, std::int16_t lockType, std::int16_t mode, std::int16_t wait,
                   std::int32_t transaction, SharedString name)
        : transactionState(transaction),
          clientIndex(client),
          clientName(std::move(name)),
          openMode(mode),
          recordLockType(lockType),
          waitState(wait) {}

    std::int32_t transactionState;  // code
    std::int64_t clientIndex;
    SharedString clientName;
    std::int16_t openMode;        // code
    std::int16_t recordLockType;  // code
    std::int16_t waitState;       // code
};

// One open data file.
struct FileInfo : RefCounted {
    FileInfo() = default;
    FileInfo(String name, std::int64_t pageBytes, std::int16_t readOnly, std::int16_t locks, std::int16_t transaction,
             std::int64_t sizeKB, Ref<List<FileHandleInfo>> handleList)
        : fileName(std::move(name)),
          pageSize(pageBytes),
          readOnlyFlag(readOnly),
          readLocks(locks),
          transactionLock(transaction),
          physicalFileSizeKB(sizeKB),
          handles(std::move(handleList)) {}

    String fileName;                    // as the engine names it
    std::int64_t pageSize;              // bytes
    std::int16_t readOnlyFlag;          // code
    std::int16_t readLocks;             // code
    std::int16_t transactionLock;       // code
    std::int64_t physicalFileSizeKB;    // kilobytes, as the engine reports it
    Ref<List<FileHandleInfo>> handles;  // empty without handle detail
};

// The identifier of one client session.
struct ClientIDInfo : RefCounted {
    String idText;
    std::int32_t idWord;  // carried, not shown
    std::int32_t taskNumber;
};

// One handle that a session holds.
struct SessionHandleInfo : RefCounted {
    std::int16_t openMode;          // code
    std::int16_t recordLockType;    // code
    std::int16_t waitState;         // code
    std::int16_t transactionState;  // code; 16 bits here, unlike that of FileHandleInfo
    SharedString fileName;
};

// One client session of the transactional engine. Counters run since the session began.
struct SessionInfo : RefCounted {
    std::int32_t site;  // code
    String sessionName;
    std::int16_t spareCode;  // carried, not shown
    std::uint64_t recordsDeleted;
    std::uint64_t recordsUpdated;
    std::uint64_t recordsInserted;
    std::uint64_t recordsRead;
    std::uint64_t diskAccesses;
    std::uint64_t cacheAccesses;
    std::uint64_t locksUsed;
    std::int32_t transactionState;  // code
    std::uint64_t pid;
    std::uint64_t connectionNumber;
    String networkAddress;
    Ref<ClientIDInfo> clientId;
    Ref<List<SessionHandleInfo>> handles;  // empty without handle detail
};

// One connection of the SQL connection manager.
struct ConnInfo : RefCounted {
    String userName;
    String clientHostName;
    String networkAddress;
    String clientApplication;
    String dataSourceName;
    std::int16_t connectionStatus;      // code: 0 idle, 1 active, else dying
    std::uint64_t activeIdlePeriodMs;   // milliseconds in the present state
    std::uint64_t totalConnectionTime;  // as the engine reports it
};

// Resource usage. The maxima are signed: the engine reports a resource without a limit through them.
struct UsageStats : RefCounted {
    std::uint64_t userCountCurrent;
    std::uint64_t userCountPeak;
    std::int64_t userCountMax;
    std::uint64_t filesCurrent;
    std::uint64_t filesPeak;
    std::int64_t filesMax;
    std::uint64_t handlesCurrent;
    std::uint64_t handlesPeak;
    std::int64_t handlesMax;
    std::uint64_t transactionsCurrent;
    std::uint64_t transactionsPeak;
    std::int64_t transactionsMax;
    std::uint64_t clientsCurrent;
    std::uint64_t clientsPeak;
    std::int64_t clientsMax;
    std::uint64_t workerThreadsCurrent;
    std::uint64_t workerThreadsPeak;
    std::int64_t workerThreadsMax;
    std::uint64_t locksCurrent;
    std::uint64_t locksPeak;
    std::uint64_t dataInUseMBCurrent;
    std::uint64_t dataInUseMBPeak;
    std::int64_t dataInUseMBMax;
    std::uint64_t sessionCountCurrent;
    std::uint64_t sessionCountPeak;
    std::int64_t sessionCountMax;
    std::uint64_t engineUptimeSecs;
};

// The statistics of one network protocol.
struct ProtocolStats : RefCounted {
    std::uint64_t protocolType;  // code
    std::uint64_t requestsProcessed;
    std::uint64_t remoteSessionsCurrent;
    std::uint64_t remoteSessionsPeak;
};

// Communication statistics since the engine started; all unsigned, maxima included.
struct CommStats : RefCounted {
    std::uint64_t totalRequestsProcessed;
    std::uint64_t unshownCount1;  // this and the next two: carried, not shown
    std::uint64_t unshownCount2;
    std::uint64_t unshownCount3;
    std::uint64_t remoteSessionsCurrent;
    std::uint64_t remoteSessionsPeak;
    std::uint64_t remoteSessionsMax;
    std::uint64_t commThreadsCurrent;
    std::uint64_t commThreadsPeak;
    std::uint64_t commThreadsMax;
    std::uint64_t totalConnectionTimeouts;
    std::uint64_t totalConnectionRecoveries;
    Ref<List<ProtocolStats>> protocols;
};

}  // namespace vexo

#endif
