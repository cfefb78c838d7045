// SPDX-License-Identifier: MIT
// The files that the server has open, and which of them belong to a table.
#ifndef VEXO_MARIADB_FILES_H
#define VEXO_MARIADB_FILES_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Engine.h"
#include "Locks.h"

namespace xr::mariadb {

struct OpenFile {
    std::string path;  // absolute
    std::string key;   // of its table, or of the system tablespace; "" for other files
    bool transactional = false;
};

struct Tablespace {
    std::uint32_t pageSize = 0;  // bytes
    std::uint64_t size = 0;      // bytes
};

class Files {
public:
    // Reads the open files. Where performance_schema has none, the tablespaces stand in for them.
    explicit Files(Engine& engine);

    // Finds each table's file and whether the transaction engine keeps it. Asks the server again only if there is a
    // table without an open file.
    void resolve(std::vector<LockedTable>& tables);

    const std::vector<OpenFile>& open() const { return m_open; }

    // Finds the tables of locks in conflict, and adds those that are not among the tables: partitions, and tables that
    // a foreign key led to, on which a session needs no lock of its own.
    void locate(std::vector<ConflictLock>& conflicts, std::vector<LockedTable>& tables);

    // Reads the tablespaces, if that has not been done yet.
    void readTablespaces();

    // The tablespace that a file is, null for other files and before the tablespaces are read.
    const Tablespace* tablespaceOf(const OpenFile& file) const;

private:
    bool resolveOpen(LockedTable& table) const;
    bool resolveClosed(LockedTable& table);
    bool resolveInSystemTablespace(LockedTable& table);
    LockedTable tableOf(const ConflictLock& conflict);

    Engine& m_engine;
    std::string m_dataDirectory;
    std::vector<OpenFile> m_open;
    std::unordered_map<std::string, std::size_t> m_preferred;  // by key, the file that stands for the table

    bool m_tablespacesRead = false;
    std::unordered_map<std::string, Tablespace> m_tablespaces;  // by tablespaceKey
    std::unordered_map<std::string, std::string> m_tablePaths;  // by key of the table, one of its files
    std::unordered_map<std::uint64_t, std::string> m_pathById;  // by number of the tablespace

    std::string m_systemTablespace;
    bool m_systemTablesRead = false;
    std::unordered_set<std::string> m_systemTables;  // keys of the tables in it
};

}  // namespace xr::mariadb

#endif
