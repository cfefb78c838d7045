// SPDX-License-Identifier: MIT
// Reads what the server's sessions do at this moment.
#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>

#include "Engine.h"
#include "Queries.h"

namespace xr::postgres {

namespace {

// Most locks are on relations, and have none of the other numbers.
LockTag tagOf(const Result& rows) {
    LockTag tag;
    tag.type = lockType(rows.text(0));
    tag.database = rows.number32(1);
    tag.relation = rows.number32(2);
    if (tag.type == LockType::kRelation) return tag;
    tag.page = rows.number32(3);
    tag.tuple = rows.number32(4);
    tag.virtualTransaction = rows.text(5);
    tag.transaction = rows.number32(6);
    tag.classId = rows.number32(7);
    tag.objectId = rows.number32(8);
    tag.objectSubId = rows.number32(9);
    if (tag.type == LockType::kOther) tag.otherType = rows.text(0);
    return tag;
}

}  // namespace

std::vector<LockRow> Engine::readLocks() {
    Result rows = connection().query(queries::kLocks);
    std::vector<LockRow> locks;
    locks.reserve(rows.size());
    while (rows.next()) {
        LockRow& lock = locks.emplace_back();
        lock.tag = tagOf(rows);
        lock.owner = rows.text(10);
        lock.pid = rows.number32(11);
        lock.strength = strength(rows.text(12));
        lock.granted = rows.flag(13);
    }
    return locks;
}

std::vector<PreparedTransaction> Engine::readPrepared() {
    Result rows = connection().query(queries::kPrepared);
    std::vector<PreparedTransaction> prepared;
    while (rows.next()) {
        prepared.push_back(
            {rows.number32(0), std::string(rows.text(1)), std::string(rows.text(2)), std::string(rows.text(3))});
    }
    return prepared;
}

std::vector<Process> Engine::readProcesses() {
    Result rows = connection().query(queries::kProcesses);
    std::vector<Process> processes;
    processes.reserve(rows.size());
    while (rows.next()) {
        Process& process = processes.emplace_back();
        process.pid = rows.number32(0);
        process.leader = rows.number32(1);
        process.database = rows.text(2);
        process.user = rows.text(3);
        process.application = rows.text(4);
        process.address = rows.text(5);
        process.hostName = rows.text(6);
        process.port = rows.text(7);
        process.type = rows.text(8);
        process.state = rows.text(9);
        process.stateMs = rows.number(10);
        process.ageMs = rows.number(11);
        process.inTransaction = rows.flag(12);
    }
    // A server always has this one. What the account may not see has no type.
    if (!hasProcess(processes, kCheckpointer)) throwNoPrivilege();
    return processes;
}

// Databases come into being, get other names and may even exchange them, as when a restored one takes the place of the old
// one. Processes lock in the database that they are connected to, and tell its name.
bool Engine::knowsDatabases(const Activity& activity) const {
    std::unordered_map<std::uint32_t, std::string_view> connectedTo;  // by process
    for (const Process& process : activity.processes)
        if (!process.database.empty()) connectedTo.emplace(process.pid, process.database);
    return std::all_of(activity.locks.begin(), activity.locks.end(), [&](const LockRow& lock) {
        if (lock.tag.database == 0) return true;
        const auto known = m_databases.find(lock.tag.database);
        if (known == m_databases.end()) return false;
        const auto told = connectedTo.find(lock.pid);
        return told == connectedTo.end() || told->second == known->second;
    });
}

void Engine::readRelations(Activity& activity) {
    std::map<std::uint32_t, std::set<std::uint32_t>> wanted;  // numbers, by database
    for (const LockRow& lock : activity.locks)
        if (lock.tag.relation != 0) wanted[lock.tag.database].insert(lock.tag.relation);
    readOwnRelations(activity.relations, wanted[m_server.database], wanted[0]);
    wanted.erase(m_server.database);
    wanted.erase(0);
    for (const auto& [database, numbers] : wanted) {
        const auto name = m_databases.find(database);
        if (name == m_databases.end()) continue;
        m_otherDatabases.addRelations(activity.relations, database, name->second, numbers, m_account, m_settings,
                                      m_log);
    }
}

void Engine::readOwnRelations(Relations& relations, const std::set<std::uint32_t>& own,
                              const std::set<std::uint32_t>& shared) {
    std::set<std::uint32_t> numbers = own;
    numbers.insert(shared.begin(), shared.end());
    if (numbers.empty()) return;
    try {
        for (auto& [number, relation] : toRelations(connection().query(queries::kRelations, toArray(numbers)))) {
            const std::uint32_t database = shared.count(number) != 0 ? 0 : m_server.database;
            relations.emplace(std::pair(database, number), relation);
        }
    } catch (const StatusError& error) {
        if (error.status() != kCatalogLocked) throw;
        m_log.notice("Somebody has locked pg_class or pg_namespace: relations are shown by their numbers meanwhile");
    }
}

void Engine::name(Reading& reading) {
    const Activity& activity = reading.activity;
    for (const LockTag& tag : reading.picture.objects) {
        if (tag.type != LockType::kRelation) {
            reading.names.push_back(objectName(tag, m_databases));
            reading.sizes.push_back(0);
            continue;
        }
        const auto found = activity.relations.find({tag.database, tag.relation});
        const Relation* relation = found == activity.relations.end() ? nullptr : &found->second;
        reading.names.push_back(relationName(tag, m_databases, relation));
        reading.sizes.push_back(relation ? relation->pages * m_server.blockSize : 0);
    }
}

// Locks first: who took one is then among the processes or has gone. The other way round, the latest blockers would be
// missing.
std::unique_ptr<Reading> Engine::read() {
    auto reading = std::make_unique<Reading>();
    reading->activity.locks = readLocks();
    reading->activity.prepared = readPrepared();
    reading->activity.processes = readProcesses();
    if (!knowsDatabases(reading->activity)) readDatabases();
    readRelations(reading->activity);
    reading->picture = joinLocks(reading->activity, connection().processId());
    name(*reading);
    return reading;
}

}  // namespace xr::postgres
