// SPDX-License-Identifier: MIT
// How relations, other objects, sessions and clients are named.
#ifndef VEXO_POSTGRES_NAMES_H
#define VEXO_POSTGRES_NAMES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "Locks.h"

namespace xr::postgres {

// Names of databases by their numbers.
using Databases = std::map<std::uint32_t, std::string>;

// database.schema.relation, or schema.relation for a shared catalog, or database.#number where `relation` is null. What
// cannot stand in a name becomes "?", and then "#database/number" stands behind, which keeps names unique.
std::string relationName(const LockTag& tag, const Databases& databases, const Relation* relation);

// What is awaited and no relation, such as "transaction 775" and "shop: advisory lock 77".
std::string objectName(const LockTag& tag, const Databases& databases);

// Where a client is: "address:port", "[address]:port" for IPv6, or "[local]".
std::string networkAddress(const Process& process);

// user@address, autovacuum worker:pid, prepared gid: for a field of `size` bytes with its NUL. A long name is cut, what
// tells it from others never is.
std::string sessionName(const LockSession& session, std::size_t size);

// Whether a session is on the server's own machine, as far as its address tells.
bool isLocal(const Process& process);

}  // namespace xr::postgres

#endif
