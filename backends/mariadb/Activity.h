// SPDX-License-Identifier: MIT
// Reads what the server's sessions do at this moment.
#ifndef VEXO_MARIADB_ACTIVITY_H
#define VEXO_MARIADB_ACTIVITY_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Engine.h"
#include "Locks.h"

namespace xr::mariadb {

// From the server's internal thread numbers, by which performance_schema keeps its rows, to session ids.
using Threads = std::unordered_map<std::uint64_t, std::uint64_t>;

// What a client says about itself when it connects.
struct ClientAttributes {
    std::uint64_t pid = 0;
    std::string program;
    std::string library;
};

// All client connections but ours, ordered by id. The server's own threads are no clients, but what they have locked
// may keep clients waiting.
std::vector<Process> readProcesses(Engine& engine, bool withServerThreads);

Transactions readTransactions(Engine& engine);

// Empty without performance_schema.
Threads readThreads(Engine& engine);

// The tables carry no file yet. Locks of this library's own connection are included: no process has its id.
TableLocks readTableLocks(Engine& engine, const Threads& threads);

// By session id.
std::unordered_map<std::uint64_t, ClientAttributes> readAttributes(Engine& engine);

// Address and port of clients over TCP as the socket knows them, by session id.
std::unordered_map<std::uint64_t, std::string> readAddresses(Engine& engine, const Threads& threads);

// USER@HOST #ID, or "server thread #ID", fit to print and for a field of `size` bytes with its NUL: a long name is cut,
// the id never is.
std::string clientName(const Process& process, std::size_t size);

// The same for `name` alone.
std::string nameWithId(std::string_view name, std::uint64_t id, std::size_t size);

// Where a client is: "localhost", or address and port, better from the socket than from the process list.
std::string networkAddress(const Process& process, const std::unordered_map<std::uint64_t, std::string>& addresses);

}  // namespace xr::mariadb

#endif
