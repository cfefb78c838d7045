// SPDX-License-Identifier: MIT
#include "ScenarioReader.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "ScenarioTable.h"

namespace xrsim {
namespace {

// Far more than anybody writes by hand; keeps a device or a wrong file from filling the memory.
constexpr std::size_t kMostMebibytes = 4;
constexpr std::size_t kMostBytes = kMostMebibytes * 1024 * 1024;

void readEngine(ScenarioTable table, EngineFacts& engine) {
    table.number("type", engine.type);
    table.number("major", engine.version.majorVersion);
    table.number("minor", engine.version.minorVersion);
    table.number("third", engine.version.thirdVersion);
    table.text("text", engine.text);
    table.number("information1", engine.information[0]);
    table.number("information2", engine.information[1]);
    table.number("information3", engine.information[2]);
    table.number("uptime_s", engine.uptimeSeconds);
    table.finish();
}

Account readAccount(ScenarioTable table) {
    Account account;
    account.server = table.text("server", 256);
    account.user = table.text("user", 256).value_or("");
    account.password = table.text("password", 256).value_or("");
    table.finish();
    return account;
}

void readLifetime(ScenarioTable& table, Lifetime& lifetime) {
    table.number("from_round", lifetime.from, 1);
    table.number("to_round", lifetime.to, 1);
}

Handle readHandle(ScenarioTable table, std::string_view nameKey, std::size_t nameSize) {
    Handle handle;
    if (nameKey == "client") table.number("client_index", handle.clientIndex);
    table.code("open_mode", handle.openMode);
    table.code("record_lock", handle.recordLock);
    table.code("wait_state", handle.waitState);
    table.number("transaction_state", handle.transactionState);
    handle.name = table.text(nameKey, nameSize).value_or("");
    table.finish();
    return handle;
}

// Keys of written-out items for Life. No two items share one, nor do their handles.
std::uint64_t lifeKey(std::uint64_t kind, std::size_t item, std::size_t handle = 0) {
    return (kind << 60) + (std::uint64_t{item} << 28) + handle;
}

File readFile(ScenarioTable table, std::size_t number) {
    File file;
    file.info = {0, 'N', 'N', 0, 'N', {}, 4096, {}, 1024};
    const std::optional<std::string> name = table.text("name", XR_NAME_SIZE);
    if (!name) table.mistake("name", "the file needs a name");
    file.name = *name;
    table.code("read_locks", file.info.readLocks);
    table.code("transaction_lock", file.info.transactionLock);
    table.code("read_only", file.info.readOnlyFlag);
    table.number("page_size", file.info.pageSize);
    table.number("size_kb", file.info.physicalFileSizeKB);
    readLifetime(table, file.lifetime);
    for (const ScenarioTable& entry : table.tables("handle")) {
        Handle handle = readHandle(entry, "client", sizeof(XRFILEHANDLEINFO::clientName));
        handle.lifeKey = lifeKey(1, number, file.handles.size());
        file.handles.push_back(std::move(handle));
    }
    table.finish();
    return file;
}

Session readSession(ScenarioTable table, std::size_t number, const Life& life) {
    Session session;
    const auto position = static_cast<std::uint32_t>(number + 1);
    putText(session.id.text, "C" + std::to_string(position));
    session.id.idWord = static_cast<std::uint16_t>(position);
    session.id.taskNumber = 1;
    putText(session.info.sessionName, "session" + std::to_string(position));
    putText(session.info.networkAddress, "10.0.0." + std::to_string(position % 250 + 1));
    session.info.pid = 1000 + position;
    session.info.connectionNumber = position;
    session.activity = life.activity;

    table.text("id", session.id.text);
    table.number("id_word", session.id.idWord);
    table.number("task_number", session.id.taskNumber);
    XRKESDCLIENTINFO& info = session.info;
    table.number("site", info.site);
    table.text("name", info.sessionName);
    table.number("spare_code", info.spareCode);
    table.number("records_deleted", info.recordsDeleted);
    table.number("records_updated", info.recordsUpdated);
    table.number("records_inserted", info.recordsInserted);
    table.number("records_read", info.recordsRead);
    table.number("disk_accesses", info.diskAccesses);
    table.number("cache_accesses", info.cacheAccesses);
    table.number("locks_used", info.locksUsed);
    table.number("transaction_state", info.transactionState);
    table.number("pid", info.pid);
    table.number("connection_number", info.connectionNumber);
    table.text("network_address", info.networkAddress);
    table.number("activity", session.activity);
    readLifetime(table, session.lifetime);
    for (const ScenarioTable& entry : table.tables("handle")) {
        Handle handle = readHandle(entry, "file", XR_NAME_SIZE);
        handle.lifeKey = lifeKey(2, number, session.handles.size());
        session.handles.push_back(std::move(handle));
    }
    table.finish();
    return session;
}

Connection readConnection(ScenarioTable table, std::size_t number) {
    Connection connection;
    XRSQLCONNINFO& info = connection.info;
    putText(info.userName, "user" + std::to_string(number + 1));
    table.text("user", info.userName);
    table.text("host", info.clientHostName);
    table.text("network_address", info.networkAddress);
    table.text("application", info.clientApplication);
    table.text("data_source", info.dataSourceName);
    table.number("status", info.connectionStatus);
    table.number("period_ms", info.activeIdlePeriodMs);
    table.number("total_time", info.totalConnectionTime);
    readLifetime(table, connection.lifetime);
    table.finish();
    return connection;
}

void readLimit(ScenarioTable& table, Limit& limit) {
    table.number("current", limit.current);
    table.number("peak", limit.peak);
}

void readUsage(ScenarioTable table, ResourceUse (&usage)[kResources]) {
    constexpr std::string_view kKeys[kResources] = {
        "users", "files", "handles", "transactions", "clients", "worker_threads", "locks", "data_in_use_mb", "sessions",
    };
    for (std::size_t i = 0; i < kResources; ++i) {
        std::optional<ScenarioTable> group = table.table(kKeys[i]);
        if (!group) continue;
        readLimit(*group, usage[i]);
        if (static_cast<Resource>(i) != Resource::kLocks) group->number("max", usage[i].max);
        group->finish();
    }
    table.finish();
}

void readCommunication(ScenarioTable table, Communication& communication) {
    table.number("requests", communication.requests);
    table.number("unshown1", communication.unshown[0]);
    table.number("unshown2", communication.unshown[1]);
    table.number("unshown3", communication.unshown[2]);
    if (std::optional<ScenarioTable> sessions = table.table("remote_sessions")) {
        readLimit(*sessions, communication.sessions);
        sessions->number("max", communication.sessionsMax);
        sessions->finish();
    }
    if (std::optional<ScenarioTable> threads = table.table("threads")) {
        readLimit(*threads, communication.threads);
        threads->number("max", communication.threadsMax);
        threads->finish();
    }
    table.number("announced_protocols", communication.announcedProtocols);
    table.number("timeouts", communication.timeouts);
    table.number("recoveries", communication.recoveries);
    for (ScenarioTable entry : table.tables("protocol")) {
        Protocol protocol;
        entry.number("type", protocol.type);
        entry.number("requests", protocol.requests);
        if (std::optional<ScenarioTable> sessions = entry.table("remote_sessions")) {
            readLimit(*sessions, protocol.sessions);
            sessions->finish();
        }
        entry.finish();
        communication.protocols.push_back(protocol);
    }
    table.finish();
}

void readPattern(ScenarioTable& table, std::string_view key, std::string_view lengthKey, std::size_t size,
                 Pattern& pattern) {
    std::size_t length = 0;
    table.number(lengthKey, length, 0, static_cast<std::int64_t>(size - 1));
    const std::optional<std::string> text = table.text(key, size);
    try {
        if (text) pattern = Pattern(*text);
        if (length != 0) pattern.lengthen(length);
    } catch (const std::invalid_argument& mistake) {
        table.mistake(text ? key : lengthKey, mistake.what());
    }
    if (pattern.length() >= size)
        table.mistake(key, "the names are longer than " + std::to_string(size - 1) + " bytes");
}

void readGenerated(ScenarioTable table, Generated& generated) {
    constexpr std::int64_t kMost = Pattern::kLimit / 10;
    table.number("files", generated.files, 0, kMost);
    table.number("handles_per_file", generated.handlesPerFile, 0, kMost);
    table.number("sessions", generated.sessions, 0, kMost);
    table.number("handles_per_session", generated.handlesPerSession, 0, kMost);
    table.number("connections", generated.connections, 0, kMost);
    readPattern(table, "file_name", "file_name_length", XR_NAME_SIZE, generated.fileName);
    readPattern(table, "session_name", "session_name_length", sizeof(XRKESDCLIENTINFO::sessionName),
                generated.sessionName);
    readPattern(table, "user_name", "user_name_length", sizeof(XRSQLCONNINFO::userName), generated.userName);
    table.finish();
}

void readLife(ScenarioTable table, Life& life) {
    life.on = true;
    table.number("seed", life.seed, 0, INT64_MAX);
    table.number("round_s", life.roundSeconds);
    table.number("churn_percent", life.churnPercent, 0, 100);
    table.number("activity", life.activity);
    table.number("arrivals", life.arrivals, 0, Pattern::kLimit / 1000);
    table.finish();
}

Crash readCrash(ScenarioTable& table) {
    const std::optional<std::string> signal = table.text("crash", 16);
    if (!signal) return Crash::kNone;
    if (*signal == "SIGABRT") return Crash::kAbort;
    if (*signal == "SIGSEGV") return Crash::kBadAccess;
    table.mistake("crash", "\"SIGABRT\" or \"SIGSEGV\" is needed");
}

Effect readEffect(ScenarioTable& table) {
    Effect effect;
    table.number("status", effect.status);
    table.number("delay_ms", effect.delayMs, 0, 3'600'000);
    effect.isInterruptible = table.flag("interruptible");
    effect.crash = readCrash(table);
    effect.losesConnection = table.flag("lose_connection");
    effect.vanishes = table.flag("vanish");
    table.number("count", effect.count);
    table.number("count_change", effect.countChange, -INT64_C(4'294'967'295), INT64_C(4'294'967'295));
    return effect;
}

Fault readFault(ScenarioTable table) {
    Fault fault;
    if (const std::optional<std::string> name = table.text("function", 64)) {
        fault.function = functionNamed(*name);
        if (!fault.function) table.mistake("function", "there is no function of this name");
    }
    table.number("index", fault.index);
    fault.name = table.text("name", XR_NAME_SIZE + 1);
    if (table.number("call", fault.firstCall, 1)) fault.times = 1;
    table.number("times", fault.times, 1);
    fault.effect = readEffect(table);
    table.finish();
    if (fault.effect.isNothing()) table.mistake("", "the fault does nothing");
    return fault;
}

// A file without handles of its own gets those of the sessions that name it.
void shareHandles(Scenario& scenario) {
    for (std::size_t number = 0; number < scenario.files.size(); ++number) {
        File& file = scenario.files[number];
        if (!file.handles.empty()) continue;
        for (std::size_t holder = 0; holder < scenario.sessions.size(); ++holder) {
            const Session& session = scenario.sessions[holder];
            for (const Handle& held : session.handles) {
                if (held.name != file.name) continue;
                Handle handle = held;
                handle.clientIndex = static_cast<std::uint32_t>(holder);
                handle.name = textOf(session.info.sessionName).substr(0, sizeof(XRFILEHANDLEINFO::clientName) - 1);
                handle.holder = holder;
                file.handles.push_back(std::move(handle));
            }
        }
    }
}

Scenario readTables(ScenarioTable root) {
    Scenario scenario;
    if (const auto engine = root.table("engine")) readEngine(*engine, scenario.engine);
    if (const auto life = root.table("life")) readLife(*life, scenario.life);
    for (const ScenarioTable& entry : root.tables("account"))
        scenario.accounts.push_back(readAccount(entry));
    for (const ScenarioTable& entry : root.tables("file")) {
        scenario.files.push_back(readFile(entry, scenario.files.size()));
    }
    for (const ScenarioTable& entry : root.tables("session")) {
        scenario.sessions.push_back(readSession(entry, scenario.sessions.size(), scenario.life));
    }
    for (const ScenarioTable& entry : root.tables("connection")) {
        scenario.connections.push_back(readConnection(entry, scenario.connections.size()));
    }
    if (const auto usage = root.table("usage")) readUsage(*usage, scenario.usage);
    if (const auto communication = root.table("communication")) {
        readCommunication(*communication, scenario.communication);
    }
    if (const auto generate = root.table("generate")) readGenerated(*generate, scenario.generated);
    for (const ScenarioTable& entry : root.tables("fault"))
        scenario.faults.push_back(readFault(entry));
    root.finish();
    shareHandles(scenario);
    return scenario;
}

}  // namespace

Scenario readScenario(std::string_view text, const std::string& file) {
    try {
        const toml::table tables = toml::parse(text);
        return readTables(ScenarioTable(tables, file));
    } catch (const toml::parse_error& error) {
        throw ScenarioMistake(file, error.source().begin, std::string(error.description()));
    }
}

Scenario readScenarioFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    std::string text;
    char part[4096];
    std::size_t size = sizeof part;
    while (file && size == sizeof part && text.size() <= kMostBytes) {
        size = std::fread(part, 1, sizeof part, file.get());
        text.append(part, size);
    }
    if (!file || std::ferror(file.get()) != 0) {
        throw std::runtime_error(path + ": cannot be read: " + std::strerror(errno));
    }
    if (text.size() > kMostBytes) {
        throw std::runtime_error(path + ": larger than " + std::to_string(kMostMebibytes) +
                                 " MiB, the limit for a scenario");
    }
    return readScenario(text, path);
}

}  // namespace xrsim
