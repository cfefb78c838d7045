// SPDX-License-Identifier: MIT
// The statuses of this library, and which of them an error of the server becomes.
#ifndef VEXO_POSTGRES_STATUSES_H
#define VEXO_POSTGRES_STATUSES_H

#include <cstdint>
#include <string>
#include <string_view>

namespace xr::postgres {

// Every one of them has its sentence in the message bundle.
enum Status : std::int16_t {
    kOtherError = 5000,
    kUnreachable = 5001,
    kAccessDenied = 5002,
    kNoDatabase = 5003,
    kNoMoreConnections = 5004,
    kNotReady = 5005,
    kConnectionLost = 5006,
    kTimeout = 5007,
    kNoPrivilege = 5008,
    kCatalogLocked = 5009,
    kCancelled = 5010,
    kNoSecureConnection = 5011,
    kUnsupportedServer = 5012,
    kOutOfOrder = 5013,
    kOutOfMemory = 5014,
    kBadServerText = 5015
};

// The status for an error while connecting, and for one of a statement. An empty code is one of the client library, which
// has none.
Status statusOfConnecting(std::string_view sqlState);
Status statusOfStatement(std::string_view sqlState);

// Whether the connection is of no use after a status.
bool isLost(Status status);

// Whether an error says that a name has no translation into the encoding of the connection. Names of databases and roles
// are stored in the encoding of whichever database they were made from.
bool isUntranslatable(std::string_view sqlState);

// A text of several lines as one line.
std::string toLine(std::string_view text);

// Why a connection was refused.
struct Refusal {
    std::string sqlState;  // "" where it was not the server that refused it
    std::string reason;    // in one line, up to the place in the server's source
};

// From the client library's message, in its most detailed form.
Refusal toRefusal(std::string_view message);

}  // namespace xr::postgres

#endif
