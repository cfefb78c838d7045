// SPDX-License-Identifier: MIT
// The exported functions of the SQL connections.
#include "ItemCalls.h"

using namespace xrsim;

std::int16_t XrGetSQLConnectionsData(std::int32_t h, std::uint32_t* count) {
    constexpr Function kThis = Function::XrGetSQLConnectionsData;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            return library.take(kThis, library.connections(), count,
                                [&] { return library.world().connections(library.roundFor(Data::kConnections)); });
        },
        [](Line&) {}, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetSQLConnectionInfo2(std::int32_t h, std::uint32_t index, XRSQLCONNINFO* info) {
    constexpr Function kThis = Function::XrGetSQLConnectionInfo2;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, info)) return kBadArgument;
            Snapshot& connections = library.connections();
            return enumerate(
                library, kThis, connections, index, [](Item) { return std::nullopt; },
                [&](Item connection) { library.world().fillConnection(connection, connections.round(), *info); });
        },
        [&](Line& line) { line.number("index", index); },
        [&](Line& line) {
            line.text("userName", textOf(info->userName)).text("clientHostName", textOf(info->clientHostName));
            line.text("networkAddress", textOf(info->networkAddress));
            line.text("clientApplication", textOf(info->clientApplication));
            line.text("dataSourceName", textOf(info->dataSourceName));
            line.number("connectionStatus", info->connectionStatus);
            line.number("activeIdlePeriodMs", info->activeIdlePeriodMs);
            line.number("totalConnectionTime", info->totalConnectionTime);
        });
}

std::int16_t XrFreeSQLConnectionsData(std::int32_t h) {
    constexpr Function kThis = Function::XrFreeSQLConnectionsData;
    Library& library = Library::instance();
    return library.call(
        kThis, h, [&] { return library.free(kThis, library.connections()); }, [](Line&) {}, [](Line&) {});
}
