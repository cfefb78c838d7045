// SPDX-License-Identifier: MIT
// The exported functions of the sessions and their handles.
#include "Library.h"
#include "TextField.h"

using namespace xrsim;

namespace {

std::optional<std::string_view> nameOfClient(const XRCLIENTID& client) {
    return textOf(client.text);
}

// The identifier is opaque to the caller, who hands back what it was given, byte for byte.
std::string_view bytesOf(const XRCLIENTID& client) {
    return {client.text, sizeof client};
}

void traceClient(Line& line, const XRCLIENTID* client) {
    if (client == nullptr) {
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
                                [&] { return library.world().sessions(library.roundFor(Data::Clients)); });
        },
        [](Line&) {}, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetKesdClientId(std::int32_t h, std::uint32_t index, XRCLIENTID* client) {
    constexpr Function kThis = Function::XrGetKesdClientId;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, client != nullptr)) return kBadArgument;
            Snapshot& clients = library.clients();
            library.needs(kThis, clients);
            const std::optional<Item> session = clients.at(index);
            XRCLIENTID found{};
            if (session) library.world().fillClient(*session, found);
            const Mishap mishap = library.befalling(kThis, index, [&] { return nameOfClient(found); });
            if (mishap.status != kOk) return mishap.status;
            if (!session) return kNoMoreItems;
            *client = found;
            clients.lastServed = session;
            if (mishap.vanishes) clients.letVanish(*session);
            return kOk;
        },
        [&](Line& line) { line.number("index", index); }, [&](Line& line) { traceClient(line, client); });
}

std::int16_t XrGetKesdClientInfo(std::int32_t h, const XRCLIENTID* client, XRKESDCLIENTINFO* info) {
    constexpr Function kThis = Function::XrGetKesdClientInfo;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, client != nullptr && info != nullptr)) return kBadArgument;
            Snapshot& clients = library.clients();
            library.needs(kThis, clients);
            const Mishap mishap = library.befalling(kThis, std::nullopt, [&] { return nameOfClient(*client); });
            if (mishap.status != kOk) return mishap.status;
            const std::optional<Item> session = library.world().findSession(clients, *client);
            if (!session) return kClientGone;
            library.world().fillSession(*session, clients.round(), *info);
            if (mishap.vanishes) clients.letVanish(*session);
            return kOk;
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
        [&]() -> Status {
            if (!library.hasRoom(kThis, client != nullptr && count != nullptr)) return kBadArgument;
            Snapshot& clients = library.clients();
            library.needs(kThis, clients);
            const Mishap mishap = library.befalling(kThis, std::nullopt, [&] { return nameOfClient(*client); });
            if (mishap.status != kOk) return mishap.status;
            const std::optional<Item> session = library.world().findSession(clients, *client);
            if (!session) return kClientGone;
            clients.countHandlesOf(*session, bytesOf(*client));
            *count = mishap.announced(library.world().sessionHandles(*session, clients.round()));
            if (mishap.vanishes) clients.letVanish(*session);
            return kOk;
        },
        [&](Line& line) { traceClient(line, client); }, [&](Line& line) { line.number("count", *count); });
}

std::int16_t XrGetKesdClientHandleInfo(std::int32_t h, const XRCLIENTID* client, std::uint32_t index,
                                       XRKESDCLIENTHANDLEINFO* info) {
    constexpr Function kThis = Function::XrGetKesdClientHandleInfo;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, client != nullptr && info != nullptr)) return kBadArgument;
            Snapshot& clients = library.clients();
            library.needs(kThis, clients);
            const Mishap mishap = library.befalling(kThis, index, [&] { return nameOfClient(*client); });
            if (mishap.status != kOk) return mishap.status;
            const std::optional<Item> session = clients.withHandles(bytesOf(*client));
            if (!session) {
                if (!library.world().findSession(clients, *client)) return kClientGone;
                library.check().misuse(kThis, "the handles of this client were not counted last");
                return kNoMoreItems;
            }
            if (!library.world().fillSessionHandle(*session, clients.round(), index, *info)) return kNoMoreItems;
            if (mishap.vanishes) clients.letVanish(*session);
            return kOk;
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
