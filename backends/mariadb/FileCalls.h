// SPDX-License-Identifier: MIT
// The snapshot behind the calls on open files.
#ifndef VEXO_MARIADB_FILECALLS_H
#define VEXO_MARIADB_FILECALLS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Engine.h"
#include "Locks.h"

namespace xrmariadb {

struct FileSnapshot {
    struct File {
        std::string name;
        XRFILEINFO info{};
        const std::vector<std::uint32_t>* handles = nullptr;  // indexes, shared by all files of a table
    };
    struct Client {
        std::uint64_t id = 0;
        std::string name;
    };
    std::vector<File> files;
    std::unordered_map<std::string_view, std::size_t> byName;  // of the files above
    std::unordered_map<std::string, std::vector<std::uint32_t>> handlesByKey;
    std::vector<TableHandle> handles;
    std::vector<Client> clients;
};

}  // namespace xrmariadb

#endif
