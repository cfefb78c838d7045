// SPDX-License-Identifier: MIT
#include "Names.h"

#include <algorithm>
#include <array>

namespace xr::mariadb {

namespace {

// Data files first. The rest are the index and description files, of which a table keeps some open as well.
constexpr std::array<std::string_view, 10> kTableFiles = {"ibd", "MYD", "MAD", "CSV", "ARZ",
                                                          "MRG", "MYI", "MAI", "CSM", "ARM"};

// Where the partition's suffix begins, npos if there is none. A "#" that belongs to a name is encoded in file names.
std::size_t partitionSuffix(std::string_view name) {
    return std::min(name.find("#P#"), name.find("#p#"));
}

// The server marks the files of names that are devices elsewhere, such as "aux". An "@" of the name itself is encoded.
std::string_view withoutMark(std::string_view name) {
    constexpr std::string_view kMark = "@@@";
    const bool marked = name.size() > kMark.size() && name.substr(name.size() - kMark.size()) == kMark;
    return marked ? name.substr(0, name.size() - kMark.size()) : name;
}

}  // namespace

std::string_view baseName(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view extension(std::string_view path) {
    const std::string_view name = baseName(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

int fileRank(std::string_view path) {
    const auto* found = std::find(kTableFiles.begin(), kTableFiles.end(), extension(path));
    return static_cast<int>(found - kTableFiles.begin());
}

std::string tableKey(std::string_view path) {
    // By extension, or the binary log "data/binlog.000001" would be the file of a table "binlog" in schema "data".
    if (fileRank(path) == static_cast<int>(kTableFiles.size())) return {};
    return tableKeyOfName(path.substr(0, path.rfind('.')));
}

std::string tableKeyOfName(std::string_view name) {
    const std::string_view table = baseName(name);
    if (table.size() == name.size()) return {};
    const std::string_view schema = baseName(name.substr(0, name.size() - table.size() - 1));
    return std::string(withoutMark(schema)).append("/").append(withoutMark(table.substr(0, partitionSuffix(table))));
}

std::string partitionKey(std::string_view path) {
    const std::string_view file = tablespaceKey(path);
    const bool divided = !tableKey(path).empty() && partitionSuffix(file) != std::string_view::npos;
    return divided ? std::string(file.substr(0, file.rfind('.'))) : std::string();
}

std::string_view tablespaceKey(std::string_view path) {
    const std::size_t file = baseName(path).size();
    if (tableKey(path).empty()) return path.substr(path.size() - file);
    const std::size_t schema = baseName(path.substr(0, path.size() - file - 1)).size();
    return path.substr(path.size() - file - 1 - schema);
}

std::string absolutePath(std::string_view path, std::string_view dataDirectory) {
    if (path.empty() || path[0] == '/') return std::string(path);
    if (path.substr(0, 2) == "./") path.remove_prefix(2);
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    while (!dataDirectory.empty() && dataDirectory.back() == '/')
        dataDirectory.remove_suffix(1);
    return std::string(dataDirectory).append("/").append(path);
}

std::string quotedName(std::string_view schema, std::string_view table) {
    std::string quoted;
    for (const std::string_view part : {schema, table}) {
        quoted += quoted.empty() ? "`" : ".`";
        for (const char c : part)
            quoted.append(c == '`' ? 2 : 1, c);
        quoted += '`';
    }
    return quoted;
}

std::string unquoted(std::string_view quoted) {
    std::string shown;
    for (std::size_t at = 0; at < quoted.size(); ++at) {
        if (quoted[at] != '`') {
            shown += quoted[at];
        } else if (quoted.substr(at, 2) == "``") {
            shown += quoted[at++];
        }
    }
    return shown;
}

std::string_view withoutPartition(std::string_view lockTable) {
    // The last backtick of a quoted name ends it, so a comment behind one is the engine's.
    const std::size_t comment = lockTable.rfind("` /* Partition `");
    return comment == std::string_view::npos || lockTable.substr(lockTable.size() - 2) != "*/"
               ? lockTable
               : lockTable.substr(0, comment + 1);
}

}  // namespace xr::mariadb
