// SPDX-License-Identifier: MIT
// The exported functions of the sessions and their handles.
#include "ItemCalls.h"

using namespace xrsim;

namespace {

void traceClient(Line& line, const XRCLIENTID* client) {
    if (!client) {
        line.null("client");
        return;
    }
    line.text("client", textOf(client->text));
    line.number("idWord", client->idWord).number("taskNumber", client->taskNumber);
}

}  // namespace

std::int16_t XrGetKesdClientsData(std::int32_t h, std::uint32_t* count) {
    constexpr Function kThis = Function::XrGetKesdClientsData;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            return library.take(kThis, library.clients(), count,
                                [&] { return library.world().sessions(library.roundFor(Data::kClients)); });
        },
        [](Line&) {}, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetKesdClientId(std::int32_t h, std::uint32_t index, XRCLIENTID* client) {
    constexpr Function kThis = Function::XrGetKesdClientId;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, client)) return kBadArgument;
            XRCLIENTID found{};
            return enumerate(
                library, kThis, library.clients(), index,
                [&](Item session) {
                    library.world().fillClient(session, found);
                    return textOf(found.text);
                },
                [&](Item) { *client = found; });
        },
        [&](Line& line) { line.number("index", index); }, [&](Line& line) { traceClient(line, client); });
}

std::int16_t XrGetKesdClientInfo(std::int32_t h, const XRCLIENTID* client, XRKESDCLIENTINFO* info) {
    constexpr Function kThis = Function::XrGetKesdClientInfo;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            return callAbout(library, kThis, NamedClient(client), std::nullopt, info,
                             [&](const Snapshot& clients, Item session, const Effect&) {
                                 library.world().fillSession(session, clients.round(), *info);
                                 return true;
                             });
        },
        [&](Line& line) { traceClient(line, client); },
        [&](Line& line) {
            line.number("site", info->site).text("sessionName", textOf(info->sessionName));
            line.number("spareCode", info->spareCode).number("recordsDeleted", info->recordsDeleted);
            line.number("recordsUpdated", info->recordsUpdated).number("recordsInserted", info->recordsInserted);
            line.number("recordsRead", info->recordsRead).number("diskAccesses", info->diskAccesses);
            line.number("cacheAccesses", info->cacheAccesses).number("locksUsed", info->locksUsed);
            line.number("transactionState", info->transactionState).number("pid", info->pid);
            line.number("connectionNumber", info->connectionNumber);
            line.text("networkAddress", textOf(info->networkAddress));
        });
}

std::int16_t XrGetKesdClientHandlesData(std::int32_t h, const XRCLIENTID* client, std::uint32_t* count) {
    constexpr Function kThis = Function::XrGetKesdClientHandlesData;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            const NamedClient named(client);
            return callAbout(library, kThis, named, std::nullopt, count,
                             [&](Snapshot& clients, Item session, const Effect& effect) {
                                 clients.countHandlesOf(session, named.key());
                                 *count = effect.announced(library.world().sessionHandles(session, clients.round()));
                                 return true;
                             });
        },
        [&](Line& line) { traceClient(line, client); }, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetKesdClientHandleInfo(std::int32_t h, const XRCLIENTID* client, std::uint32_t index,
                                       XRKESDCLIENTHANDLEINFO* info) {
    constexpr Function kThis = Function::XrGetKesdClientHandleInfo;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&] {
            return callAbout(library, kThis, NamedClient(client), index, info,
                             [&](const Snapshot& clients, Item session, const Effect&) {
                                 return library.world().fillSessionHandle(session, clients.round(), index, *info);
                             });
        },
        [&](Line& line) {
            traceClient(line, client);
            line.number("index", index);
        },
        [&](Line& line) {
            line.number("openMode", info->openMode).number("recordLockType", info->recordLockType);
            line.number("waitState", info->waitState).number("transactionState", info->transactionState);
            line.text("fileName", textOf(info->fileName));
        });
}

std::int16_t XrFreeKesdClientsData(std::int32_t h) {
    constexpr Function kThis = Function::XrFreeKesdClientsData;
    Library& library = Library::instance();
    return library.call(
        kThis, h, [&] { return library.free(kThis, library.clients()); }, [](Line&) {}, [](Line&) {});
}
