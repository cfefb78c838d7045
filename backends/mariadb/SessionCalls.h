// SPDX-License-Identifier: MIT
// The snapshot behind the calls on the clients of the transactional engine.
#ifndef VEXO_MARIADB_SESSIONCALLS_H
#define VEXO_MARIADB_SESSIONCALLS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Engine.h"
#include "Locks.h"

namespace xrmariadb {

struct SessionSnapshot {
    std::vector<XRKESDCLIENTINFO> clients;
    std::vector<std::uint64_t> ids;
    std::unordered_map<std::uint64_t, std::size_t> byId;
    LockPicture locks;               // its sessions in the order of the clients
    std::vector<std::string> files;  // by table
};

}  // namespace xrmariadb

#endif
