// SPDX-License-Identifier: MIT
// The calls about one item of a snapshot: checks, faults and look-up in the order that all of them share.
#ifndef XRSIM_ITEMCALLS_H
#define XRSIM_ITEMCALLS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Library.h"
#include "TextField.h"

namespace xrsim {

// A file by the name that the caller was given.
class NamedFile {
public:
    static constexpr std::string_view kKind = "file";
    static constexpr Status kGone = kFileGone;

    explicit NamedFile(const char* name) {
        if (name) m_name = textOf(name, XR_NAME_SIZE - 1);
    }

    bool isGiven() const { return m_name.data(); }
    // What faults and the trace call it.
    std::string_view name() const { return m_name; }
    // The bytes that all calls about the same item have in common.
    std::string_view key() const { return m_name; }
    Snapshot& snapshot(Library& library) const { return library.files(); }
    std::optional<Item> find(const World& world, const Snapshot& files) const { return world.findFile(files, m_name); }

private:
    std::string_view m_name;
};

// A client by its identifier, which the caller hands back byte for byte.
class NamedClient {
public:
    static constexpr std::string_view kKind = "client";
    static constexpr Status kGone = kClientGone;

    explicit NamedClient(const XRCLIENTID* id) : m_id(id) {}

    bool isGiven() const { return m_id; }
    std::string_view name() const { return textOf(m_id->text); }
    std::string_view key() const { return {m_id->text, sizeof *m_id}; }
    Snapshot& snapshot(Library& library) const { return library.clients(); }
    std::optional<Item> find(const World& world, const Snapshot& clients) const {
        return world.findSession(clients, *m_id);
    }

private:
    const XRCLIENTID* m_id;
};

// Serves the item at `index`. `read` returns the name that faults know the item by, or std::nullopt; `give` hands the
// item to the caller.
template <typename Read, typename Give>
Status enumerate(Library& library, Function function, Snapshot& snapshot, std::uint32_t index, Read read, Give give) {
    library.needs(function, snapshot);
    const std::optional<Item> item = snapshot.at(index);
    std::optional<std::string_view> name;
    if (item) name = read(*item);
    const Effect effect = library.playFaults(function, index, name);
    if (effect.status != kOk) return effect.status;
    if (!item) return kNoMoreItems;
    give(*item);
    snapshot.lastServed = item;
    if (effect.vanishes) snapshot.letVanish(*item);
    return kOk;
}

// A call about the item that the caller names. With a handle's index it has to be the item whose handles were counted
// last. `work` gets the snapshot, the item and the effect of the faults; it returns false past the last handle.
template <typename Named, typename Record, typename Work>
Status callAbout(Library& library, Function function, const Named& named, std::optional<std::uint32_t> handle,
                 const Record* record, Work work) {
    if (!library.hasRoom(function, named.isGiven() && record)) return kBadArgument;
    Snapshot& snapshot = named.snapshot(library);
    library.needs(function, snapshot);
    const Effect effect = library.playFaults(function, handle, named.name());
    if (effect.status != kOk) return effect.status;
    const std::optional<Item> item = handle ? snapshot.withHandles(named.key()) : named.find(library.world(), snapshot);
    if (!item) {
        if (!handle || !named.find(library.world(), snapshot)) return Named::kGone;
        library.check().misuse(function, "the handles of this " + std::string(Named::kKind) + " were not counted last");
        return kNoMoreItems;
    }
    if (!work(snapshot, *item, effect)) return kNoMoreItems;
    if (effect.vanishes) snapshot.letVanish(*item);
    return kOk;
}

}  // namespace xrsim

#endif
