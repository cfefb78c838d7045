/* SPDX-License-Identifier: MIT */
/* The engine's administration interface: what the monitor calls and what every library of the interface
 * exports. Plain C, so that a library may be written in any language that speaks it.
 *
 * Records are little-endian and lie exactly as the engine lays them out, gaps spelled out. A monitor reads the
 * named fields only; a library may fill the gaps. Text is single-byte and ends at its NUL or at the end of its
 * field, whichever comes first; the client name of XRFILEHANDLEINFO and the file name of XRKESDCLIENTHANDLEINFO, last
 * in their records, may run on to a NUL up to 1,000 bytes behind the record.
 *
 * Every function returns a status: 0 is success, XR_NO_MORE_ITEMS, XR_CLIENT_GONE and XR_FILE_GONE are the
 * expected ends and gaps of an enumeration, anything else is an error. Outputs count only after status 0. */
#ifndef XRADMIN_H
#define XRADMIN_H

#include <stddef.h>
#include <stdint.h>

#define XR_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define XR_AT(offset, record, field) static_assert(offsetof(record, field) == (offset), #record "." #field)
#define XR_SIZE(size, record) static_assert(sizeof(record) == (size), #record)
extern "C" {
#else
#define XR_AT(offset, record, field) _Static_assert(offsetof(record, field) == (offset), #record "." #field)
#define XR_SIZE(size, record) _Static_assert(sizeof(record) == (size), #record)
#endif

enum {
    XR_OK = 0,
    XR_NO_MORE_ITEMS = 7008, /* the index ran past the last item */
    XR_CLIENT_GONE = 7010,   /* the client disconnected since it was enumerated */
    XR_FILE_GONE = 7015      /* the file was closed since it was enumerated, or has no handle data */
};

/* The handle of the engine on this machine, addressed without XrConnectServer. */
enum { XR_LOCAL_ENGINE = -1 };

/* Bytes of the buffers that the caller hands over. */
enum { XR_NAME_SIZE = 1024, XR_ENGINE_TEXT_SIZE = 1024 };

/* Protocol entries that fit into XRKESDCOMMSTAT. */
enum { XR_MAX_PROTOCOLS = 9 };

/* One client of the transactional engine, as the engine names it. */
typedef struct {
    char text[12];
    uint16_t idWord;
    uint16_t taskNumber;
} XRCLIENTID;
XR_AT(0, XRCLIENTID, text);
XR_AT(12, XRCLIENTID, idWord);
XR_AT(14, XRCLIENTID, taskNumber);
XR_SIZE(16, XRCLIENTID);

/* The three flags are the characters 'Y' and 'N'. */
typedef struct {
    uint8_t gap0;
    uint8_t readLocks;
    uint8_t transactionLock;
    uint8_t gap3;
    uint8_t readOnlyFlag;
    uint8_t gap5[11];
    uint32_t pageSize; /* bytes */
    uint8_t gap20[16];
    uint32_t physicalFileSizeKB;
} XRFILEINFO;
XR_AT(1, XRFILEINFO, readLocks);
XR_AT(2, XRFILEINFO, transactionLock);
XR_AT(4, XRFILEINFO, readOnlyFlag);
XR_AT(16, XRFILEINFO, pageSize);
XR_AT(36, XRFILEINFO, physicalFileSizeKB);
XR_SIZE(40, XRFILEINFO);

/* One handle that a client holds on a file. */
typedef struct {
    uint32_t clientIndex;
    uint8_t openMode;
    uint8_t recordLockType; /* 'N', 'S', 'M'; anything else is unknown (reports print n/a) */
    uint8_t waitState;
    uint8_t gap7;
    uint16_t transactionState;
    char clientName[64];
    uint8_t gap74[2];
} XRFILEHANDLEINFO;
XR_AT(0, XRFILEHANDLEINFO, clientIndex);
XR_AT(4, XRFILEHANDLEINFO, openMode);
XR_AT(5, XRFILEHANDLEINFO, recordLockType);
XR_AT(6, XRFILEHANDLEINFO, waitState);
XR_AT(8, XRFILEHANDLEINFO, transactionState);
XR_AT(10, XRFILEHANDLEINFO, clientName);
XR_SIZE(76, XRFILEHANDLEINFO);

/* One session. The counters run since the session began. */
typedef struct {
    int32_t site;
    char sessionName[80];
    uint16_t spareCode;
    uint8_t gap86[2];
    uint32_t recordsDeleted;
    uint32_t recordsUpdated;
    uint32_t recordsInserted;
    uint32_t recordsRead;
    uint32_t diskAccesses;
    uint32_t cacheAccesses;
    uint32_t locksUsed;
    int32_t transactionState;
    uint32_t pid;
    uint32_t connectionNumber;
    char networkAddress[72];
} XRKESDCLIENTINFO;
XR_AT(0, XRKESDCLIENTINFO, site);
XR_AT(4, XRKESDCLIENTINFO, sessionName);
XR_AT(84, XRKESDCLIENTINFO, spareCode);
XR_AT(88, XRKESDCLIENTINFO, recordsDeleted);
XR_AT(92, XRKESDCLIENTINFO, recordsUpdated);
XR_AT(96, XRKESDCLIENTINFO, recordsInserted);
XR_AT(100, XRKESDCLIENTINFO, recordsRead);
XR_AT(104, XRKESDCLIENTINFO, diskAccesses);
XR_AT(108, XRKESDCLIENTINFO, cacheAccesses);
XR_AT(112, XRKESDCLIENTINFO, locksUsed);
XR_AT(116, XRKESDCLIENTINFO, transactionState);
XR_AT(120, XRKESDCLIENTINFO, pid);
XR_AT(124, XRKESDCLIENTINFO, connectionNumber);
XR_AT(128, XRKESDCLIENTINFO, networkAddress);
XR_SIZE(200, XRKESDCLIENTINFO);

/* One handle that a session holds. */
typedef struct {
    uint8_t openMode;
    uint8_t recordLockType; /* 'N', 'S', 'M'; anything else is unknown (reports print n/a) */
    uint8_t waitState;
    uint8_t gap3;
    uint16_t transactionState;
    char fileName[XR_NAME_SIZE];
} XRKESDCLIENTHANDLEINFO;
XR_AT(0, XRKESDCLIENTHANDLEINFO, openMode);
XR_AT(1, XRKESDCLIENTHANDLEINFO, recordLockType);
XR_AT(2, XRKESDCLIENTHANDLEINFO, waitState);
XR_AT(4, XRKESDCLIENTHANDLEINFO, transactionState);
XR_AT(6, XRKESDCLIENTHANDLEINFO, fileName);
XR_SIZE(1030, XRKESDCLIENTHANDLEINFO);

/* One connection of the SQL connection manager. */
typedef struct {
    char userName[65];
    char clientHostName[33];
    char networkAddress[256];
    char clientApplication[66];
    char dataSourceName[66];
    uint16_t connectionStatus; /* 0 idle, 1 active, else dying */
    uint32_t activeIdlePeriodMs;
    uint32_t totalConnectionTime;
} XRSQLCONNINFO;
XR_AT(0, XRSQLCONNINFO, userName);
XR_AT(65, XRSQLCONNINFO, clientHostName);
XR_AT(98, XRSQLCONNINFO, networkAddress);
XR_AT(354, XRSQLCONNINFO, clientApplication);
XR_AT(420, XRSQLCONNINFO, dataSourceName);
XR_AT(486, XRSQLCONNINFO, connectionStatus);
XR_AT(488, XRSQLCONNINFO, activeIdlePeriodMs);
XR_AT(492, XRSQLCONNINFO, totalConnectionTime);
XR_SIZE(496, XRSQLCONNINFO);

/* Resource usage: current values and peaks are unsigned, maxima signed (0 stands for no limit). */
typedef struct {
    uint32_t userCountCurrent;
    uint32_t userCountPeak;
    int32_t userCountMax;
    uint32_t filesCurrent;
    uint32_t filesPeak;
    int32_t filesMax;
    uint32_t handlesCurrent;
    uint32_t handlesPeak;
    int32_t handlesMax;
    uint32_t transactionsCurrent;
    uint32_t transactionsPeak;
    int32_t transactionsMax;
    uint32_t clientsCurrent;
    uint32_t clientsPeak;
    int32_t clientsMax;
    uint32_t workerThreadsCurrent;
    uint32_t workerThreadsPeak;
    int32_t workerThreadsMax;
    uint32_t locksCurrent;
    uint32_t locksPeak;
    uint32_t dataInUseMBCurrent;
    uint32_t dataInUseMBPeak;
    int32_t dataInUseMBMax;
    uint32_t sessionCountCurrent;
    uint32_t sessionCountPeak;
    int32_t sessionCountMax;
    uint32_t engineUptimeSecs;
} XRKESDUSAGE;
XR_AT(12, XRKESDUSAGE, filesCurrent);
XR_AT(24, XRKESDUSAGE, handlesCurrent);
XR_AT(36, XRKESDUSAGE, transactionsCurrent);
XR_AT(48, XRKESDUSAGE, clientsCurrent);
XR_AT(60, XRKESDUSAGE, workerThreadsCurrent);
XR_AT(72, XRKESDUSAGE, locksCurrent);
XR_AT(80, XRKESDUSAGE, dataInUseMBCurrent);
XR_AT(92, XRKESDUSAGE, sessionCountCurrent);
XR_AT(104, XRKESDUSAGE, engineUptimeSecs);
XR_SIZE(108, XRKESDUSAGE);

/* The statistics of one network protocol. */
typedef struct {
    uint32_t protocolType; /* 1 SPX, 4 TCP/IP, 12 NetBIOS */
    uint32_t requestsProcessed;
    uint32_t remoteSessionsCurrent;
    uint32_t remoteSessionsPeak;
} XRPROTOCOLSTAT;
XR_SIZE(16, XRPROTOCOLSTAT);

/* Communication statistics, all unsigned, maxima included. */
typedef struct {
    uint32_t totalRequestsProcessed;
    uint32_t unshownCount1;
    uint32_t unshownCount2;
    uint32_t unshownCount3;
    uint32_t remoteSessionsCurrent;
    uint32_t remoteSessionsPeak;
    uint32_t remoteSessionsMax;
    uint32_t commThreadsCurrent;
    uint32_t commThreadsPeak;
    uint32_t commThreadsMax;
    uint32_t protocolCount;
    uint32_t totalConnectionTimeouts;
    uint32_t totalConnectionRecoveries;
    XRPROTOCOLSTAT protocols[XR_MAX_PROTOCOLS];
    uint8_t gap196[4];
} XRKESDCOMMSTAT;
XR_AT(4, XRKESDCOMMSTAT, unshownCount1);
XR_AT(16, XRKESDCOMMSTAT, remoteSessionsCurrent);
XR_AT(28, XRKESDCOMMSTAT, commThreadsCurrent);
XR_AT(40, XRKESDCOMMSTAT, protocolCount);
XR_AT(44, XRKESDCOMMSTAT, totalConnectionTimeouts);
XR_AT(48, XRKESDCOMMSTAT, totalConnectionRecoveries);
XR_AT(52, XRKESDCOMMSTAT, protocols);
XR_SIZE(200, XRKESDCOMMSTAT);

typedef struct {
    int32_t majorVersion;
    int32_t minorVersion;
    int32_t thirdVersion;
} XRKESDVERSION;
XR_SIZE(12, XRKESDVERSION);

/* The library's own life: XrStart first, XrStop last. Both take NULL. */
XR_API int16_t XrStart(void* reserved);
XR_API int16_t XrStop(void* reserved);

/* Connects to a named engine and gives the handle that every other function takes first. */
XR_API int16_t XrConnectServer(const char* server, const char* user, const char* password, int32_t* h);
XR_API int16_t XrDisconnect(int32_t h);

/* `text` takes XR_ENGINE_TEXT_SIZE bytes; engine types 6 and 7 limit sessions and data instead of users. */
XR_API int16_t XrGetEngineInformation(int32_t h, char* text, uint32_t* information1, uint32_t* information2,
                                      uint32_t* information3, uint32_t* engineType);
XR_API int16_t XrGetKesdVersion(int32_t h, XRKESDVERSION* version);

/* Enumerations: the data call freezes a snapshot and counts it, item calls read it by index from 0, the free call
 * drops it. The handles of a file and of a client belong to the snapshot they were found in and have no free call. */
XR_API int16_t XrGetOpenFilesData(int32_t h, uint32_t* count);
XR_API int16_t XrGetOpenFileName(int32_t h, uint32_t index, uint32_t* size, char* name);
XR_API int16_t XrGetFileInfo2(int32_t h, const char* name, XRFILEINFO* info);
XR_API int16_t XrFreeOpenFilesData(int32_t h);
XR_API int16_t XrGetFileHandlesData(int32_t h, const char* name, uint32_t* count);
XR_API int16_t XrGetFileHandleInfo(int32_t h, const char* name, uint32_t index, XRFILEHANDLEINFO* info);

XR_API int16_t XrGetKesdClientsData(int32_t h, uint32_t* count);
XR_API int16_t XrGetKesdClientId(int32_t h, uint32_t index, XRCLIENTID* client);
XR_API int16_t XrGetKesdClientInfo(int32_t h, const XRCLIENTID* client, XRKESDCLIENTINFO* info);
XR_API int16_t XrGetKesdClientHandlesData(int32_t h, const XRCLIENTID* client, uint32_t* count);
XR_API int16_t XrGetKesdClientHandleInfo(int32_t h, const XRCLIENTID* client, uint32_t index,
                                         XRKESDCLIENTHANDLEINFO* info);
XR_API int16_t XrFreeKesdClientsData(int32_t h);

XR_API int16_t XrGetSQLConnectionsData(int32_t h, uint32_t* count);
XR_API int16_t XrGetSQLConnectionInfo2(int32_t h, uint32_t index, XRSQLCONNINFO* info);
XR_API int16_t XrFreeSQLConnectionsData(int32_t h);

XR_API int16_t XrGetKesdUsageEx2(int32_t h, XRKESDUSAGE* usage);
XR_API int16_t XrGetKesdCommStatEx(int32_t h, XRKESDCOMMSTAT* stat);

/* Every function of the interface, once: tables of pointers and loaders are made from this list. */
#define XR_FUNCTIONS(X)           \
    X(XrStart)                    \
    X(XrStop)                     \
    X(XrConnectServer)            \
    X(XrDisconnect)               \
    X(XrGetEngineInformation)     \
    X(XrGetKesdVersion)           \
    X(XrGetOpenFilesData)         \
    X(XrGetOpenFileName)          \
    X(XrGetFileInfo2)             \
    X(XrFreeOpenFilesData)        \
    X(XrGetFileHandlesData)       \
    X(XrGetFileHandleInfo)        \
    X(XrGetKesdClientsData)       \
    X(XrGetKesdClientId)          \
    X(XrGetKesdClientInfo)        \
    X(XrGetKesdClientHandlesData) \
    X(XrGetKesdClientHandleInfo)  \
    X(XrFreeKesdClientsData)      \
    X(XrGetSQLConnectionsData)    \
    X(XrGetSQLConnectionInfo2)    \
    X(XrFreeSQLConnectionsData)   \
    X(XrGetKesdUsageEx2)          \
    X(XrGetKesdCommStatEx)

#ifdef __cplusplus
}
#endif

#endif
