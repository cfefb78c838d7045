// SPDX-License-Identifier: MIT
// What a scenario describes: the engine, its accounts, the items written out, the generated ones, and the faults.
#ifndef XRSIM_SCENARIO_H
#define XRSIM_SCENARIO_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Functions.h"
#include "Life.h"
#include "Pattern.h"
#include "Statuses.h"
#include "xradmin.h"

namespace xrsim {

struct EngineFacts {
    std::uint32_t type = 1;
    std::uint32_t information[3] = {};
    XRKESDVERSION version{16, 11, 6};
    char text[XR_ENGINE_TEXT_SIZE] = "Simulated engine";
    std::uint32_t uptimeSeconds = 86'400;
};

struct Account {
    std::optional<std::string> server;  // any server when absent
    std::string user;
    std::string password;
};

// A handle, seen from its file or from its session; `name` is the client's or the file's.
struct Handle {
    std::uint32_t clientIndex = 0;
    std::uint8_t openMode = 0;
    std::uint8_t recordLock = 'N';
    std::uint8_t waitState = 0;
    std::uint16_t transactionState = 0;
    std::string name;
    std::uint64_t lifeKey = 0;          // identifies it to Life::isPresent
    std::optional<std::size_t> holder;  // the session that it was taken from
};

struct File {
    std::string name;
    XRFILEINFO info{};
    Lifetime lifetime;
    std::vector<Handle> handles;
};

struct Session {
    XRCLIENTID id{};
    XRKESDCLIENTINFO info{};
    Lifetime lifetime;
    std::uint32_t activity = 0;  // records read in a round
    std::vector<Handle> handles;
};

struct Connection {
    XRSQLCONNINFO info{};
    Lifetime lifetime;
};

// Items that are computed by number when they are asked for.
struct Generated {
    std::uint32_t files = 0;
    std::uint32_t handlesPerFile = 0;
    std::uint32_t sessions = 0;
    std::uint32_t handlesPerSession = 0;
    std::uint32_t connections = 0;
    Pattern fileName{"/srv/data/table{n}.dat"};
    Pattern sessionName{"user{n}"};
    Pattern userName{"sql{n}"};
};

struct Limit {
    std::optional<std::uint32_t> current;  // counted in the lists when absent
    std::optional<std::uint32_t> peak;     // the highest current value so far when absent
};

// The groups of the usage record, in its order.
enum class Resource : std::uint8_t {
    kUsers,
    kFiles,
    kHandles,
    kTransactions,
    kClients,
    kWorkerThreads,
    kLocks,
    kDataInUse,
    kSessions
};
constexpr std::size_t kResources = 9;

struct ResourceUse : Limit {
    std::int32_t max = 0;
};

struct Protocol {
    std::uint32_t type = 4;
    std::uint32_t requests = 0;
    Limit sessions;
};

struct Communication {
    std::optional<std::uint32_t> requests;
    std::uint32_t unshown[3] = {};
    Limit sessions;
    std::uint32_t sessionsMax = 0;
    Limit threads;
    std::uint32_t threadsMax = 0;
    std::optional<std::uint32_t> announcedProtocols;
    std::uint32_t timeouts = 0;
    std::uint32_t recoveries = 0;
    std::vector<Protocol> protocols;
};

enum class Crash : std::uint8_t { kNone, kAbort, kBadAccess };

// What faults do to a call.
struct Effect {
    Status status = kOk;
    std::uint32_t delayMs = 0;
    bool isInterruptible = false;  // a signal ends the delay and fails the call
    Crash crash = Crash::kNone;
    bool losesConnection = false;
    bool vanishes = false;
    std::optional<std::uint32_t> count;
    std::int64_t countChange = 0;

    bool isNothing() const;
    // Adds what another fault does to the same call.
    void add(const Effect& other);
    // The count that a data call announces in place of `real`.
    std::uint32_t announced(std::uint32_t real) const;
};

// Which calls go wrong, and how.
struct Fault {
    std::optional<Function> function;    // any function when absent
    std::optional<std::uint32_t> index;  // any index when absent
    std::optional<std::string> name;     // of the file or the client; any when absent
    std::uint32_t firstCall = 1;         // counted among the calls that match the above
    std::uint32_t times = UINT32_MAX;
    Effect effect;
};

struct Scenario {
    EngineFacts engine;
    std::vector<Account> accounts;
    std::vector<File> files;
    std::vector<Session> sessions;
    std::vector<Connection> connections;
    ResourceUse usage[kResources];
    Communication communication;
    Generated generated;
    Life life;
    std::vector<Fault> faults;
};

}  // namespace xrsim

#endif
