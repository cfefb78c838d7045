// SPDX-License-Identifier: MIT
// How the server's different sources name one table, and how its files are found by that name.
#ifndef VEXO_MARIADB_NAMES_H
#define VEXO_MARIADB_NAMES_H

#include <string>
#include <string_view>

namespace xr::mariadb {

// The last component of a path.
std::string_view baseName(std::string_view path);

// What stands after the last "." of the last component, "" if there is none.
std::string_view extension(std::string_view path);

// The table that a file belongs to, as "schema/table" in the server's file name encoding; all files and partitions of
// a table share it. "" for a file that belongs to no table. Paths are absolute, relative to the data directory or, by
// DATA DIRECTORY, elsewhere, and the data directory may be a link, so only the last two components count.
std::string tableKey(std::string_view path);

// The same of a name of a table or partition, "schema/table#P#partition" in that encoding.
std::string tableKeyOfName(std::string_view name);

// The partition that a file belongs to, "schema/table#P#partition", or "" if it is not one.
std::string partitionKey(std::string_view path);

// What tells the file of a tablespace from all others: schema and file for tables, the last component for the system's.
std::string_view tablespaceKey(std::string_view path);

// A path relative to the data directory ("./shop/items.ibd", ".//undo001") as an absolute one. Others stay as they are.
std::string absolutePath(std::string_view path, std::string_view dataDirectory);

// The order in which the files of a table are preferred to stand for it, smallest first: data before index.
int fileRank(std::string_view path);

// `schema`.`table`, with the backticks doubled, as the transaction engine writes it.
std::string quotedName(std::string_view schema, std::string_view table);

// Such a name to show: schema.table.
std::string unquoted(std::string_view quoted);

// The transaction engine's name of a table or of a partition, "`schema`.`table` /* Partition `p` */", without the
// latter: the quoted name of the table.
std::string_view withoutPartition(std::string_view lockTable);

}  // namespace xr::mariadb

#endif
