// SPDX-License-Identifier: MIT
#include "Files.h"

#include "Names.h"
#include "Queries.h"
#include "Texts.h"

namespace xr::mariadb {

namespace {

bool isTransactional(std::string_view instrument) {
    return instrument.find("/innodb/") != std::string_view::npos;
}

// The key by which handles find a file: its table, or itself where it is a shared tablespace.
std::string keyOf(std::string_view path, bool transactional) {
    std::string key = tableKey(path);
    return key.empty() && transactional ? std::string(baseName(path)) : key;
}

}  // namespace

Files::Files(Engine& engine) : m_engine(engine), m_dataDirectory(engine.variable("datadir")) {
    std::optional<Result> rows;
    if (engine.hasPerformanceSchema()) rows = engine.queryOptional(queries::kFiles, "files are those of InnoDB only");
    while (rows && rows->next()) {
        const bool transactional = isTransactional(rows->text(1));
        std::string path = absolutePath(rows->text(0), m_dataDirectory);
        std::string key = keyOf(path, transactional);
        m_open.push_back({std::move(path), std::move(key), transactional});
    }
    if (rows && m_open.empty()) {
        m_engine.log().notice(
            "performance_schema shows no open files, so they are those of InnoDB only: its instruments "
            "wait/io/file/% or its consumer global_instrumentation are off");
    }
    if (m_open.empty()) readTablespaces();
    for (std::size_t index = 0; index < m_open.size(); ++index) {
        if (m_open[index].key.empty()) continue;
        const auto [preferred, isNew] = m_preferred.emplace(m_open[index].key, index);
        if (isNew) continue;
        const std::string& best = m_open[preferred->second].path;
        const std::string& path = m_open[index].path;
        // The first partition stands for all of them.
        const int order = fileRank(path) - fileRank(best);
        if (order < 0 || (order == 0 && path < best)) preferred->second = index;
    }
}

void Files::readTablespaces() {
    if (m_tablespacesRead) return;
    m_tablespacesRead = true;
    if (!m_engine.readsTablespaces()) return;
    const bool standIn = m_open.empty();
    Result rows = m_engine.queryOrEmpty(queries::kTablespaces, "page sizes and sizes of InnoDB's files are not shown");
    while (rows.next()) {
        std::string path = absolutePath(rows.text(1), m_dataDirectory);
        if (rows.text(0) == "innodb_system") m_systemTablespace = baseName(path);
        m_tablespaces.emplace(tablespaceKey(path), Tablespace{saturate(rows.number(2)), rows.number(3)});
        m_pathById.emplace(rows.number(4), path);
        std::string key = keyOf(path, true);
        const auto [known, isNew] = m_tablePaths.emplace(key, path);
        if (!isNew && path < known->second) known->second = path;
        if (standIn) m_open.push_back({std::move(path), std::move(key), true});
    }
}

const Tablespace* Files::tablespaceOf(const OpenFile& file) const {
    const auto found = m_tablespaces.find(std::string(tablespaceKey(file.path)));
    return file.transactional && found != m_tablespaces.end() ? &found->second : nullptr;
}

void Files::resolve(std::vector<LockedTable>& tables) {
    for (LockedTable& table : tables) {
        if (!table.isTable) continue;
        // What is found nowhere has no file: a view, or a table in memory.
        if (!resolveOpen(table) && !resolveClosed(table)) resolveInSystemTablespace(table);
        table.partitioned = !partitionKey(table.file).empty();
    }
}

void Files::locate(std::vector<ConflictLock>& conflicts, std::vector<LockedTable>& tables) {
    if (conflicts.empty()) return;
    std::unordered_map<std::string, std::uint32_t> indexOf;
    for (std::uint32_t index = 0; index < tables.size(); ++index)
        if (tables[index].isTable) indexOf.emplace(tables[index].quoted, index);
    for (ConflictLock& conflict : conflicts) {
        const auto known = indexOf.find(conflict.tableName);
        if (known != indexOf.end()) {
            conflict.table = known->second;
            continue;
        }
        LockedTable table = tableOf(conflict);
        const std::string_view whole = withoutPartition(conflict.tableName);
        const auto divided = indexOf.find(std::string(whole));
        if (whole != conflict.tableName && divided != indexOf.end()) table.whole = divided->second;
        conflict.table = static_cast<std::uint32_t>(tables.size());
        indexOf.emplace(conflict.tableName, conflict.table);
        tables.push_back(std::move(table));
    }
}

// Row locks carry the number of their tablespace, which leads to the file however odd the name is.
LockedTable Files::tableOf(const ConflictLock& conflict) {
    LockedTable table;
    table.quoted = conflict.tableName;
    table.file = unquoted(conflict.tableName);
    table.transactional = true;
    readTablespaces();
    const auto found = m_pathById.find(conflict.tablespace);
    if (!conflict.rows || found == m_pathById.end()) return table;
    table.file = found->second;
    table.key = partitionKey(table.file);
    if (table.key.empty()) table.key = keyOf(table.file, true);
    return table;
}

bool Files::resolveOpen(LockedTable& table) const {
    const auto found = m_preferred.find(table.key);
    if (found == m_preferred.end()) return false;
    table.file = m_open[found->second].path;
    table.transactional = m_open[found->second].transactional;
    return true;
}

// The server may close the file of a table that is in use, to stay below its limit of open files.
bool Files::resolveClosed(LockedTable& table) {
    readTablespaces();
    const auto found = m_tablePaths.find(table.key);
    if (found == m_tablePaths.end()) return false;
    table.file = found->second;
    table.transactional = true;
    return true;
}

bool Files::resolveInSystemTablespace(LockedTable& table) {
    if (!m_systemTablesRead) {
        m_systemTablesRead = true;
        auto rows = m_engine.queryOptional(queries::kTablesInSystemTablespace,
                                           "tables without a file of their own count as not transactional");
        while (rows && rows->next())
            m_systemTables.emplace(tableKeyOfName(rows->text(0)));
    }
    if (m_systemTables.count(table.key) == 0) return false;
    table.transactional = true;
    if (m_systemTablespace.empty()) return true;
    table.key = m_systemTablespace;
    resolveOpen(table) || resolveClosed(table);
    return true;
}

}  // namespace xr::mariadb
