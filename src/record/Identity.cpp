// SPDX-License-Identifier: MIT
#include "record/Identity.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace vexo {
namespace {

std::size_t mixed(std::size_t hash, std::size_t part) {
    constexpr std::size_t kOdd = 0x9E3779B97F4A7C15U;  // 2^64 divided by the golden ratio
    return (hash ^ part) * kOdd;
}

struct KeyHash {
    template <typename... Parts>
    std::size_t operator()(const std::tuple<Parts...>& key) const {
        return std::apply(
            [](const Parts&... parts) {
                std::size_t hash = 0;
                ((hash = mixed(hash, std::hash<Parts>()(parts))), ...);
                return hash;
            },
            key);
    }
};

// Matches by `keyOf(record, place)`; items whose keys are alike are matched in their order.
template <typename KeyOf>
Matches match(const Record& before, std::size_t beforeCount, const Record& now, std::size_t nowCount, KeyOf keyOf) {
    // Of the items with one key: the first, and for each the next.
    std::unordered_map<decltype(keyOf(before, 0)), std::uint32_t, KeyHash> first;
    first.reserve(beforeCount);
    std::vector<std::uint32_t> next(beforeCount, kNew);
    for (std::size_t place = beforeCount; place-- > 0;) {
        const auto [entry, fresh] = first.try_emplace(keyOf(before, place), static_cast<std::uint32_t>(place));
        if (!fresh) next[place] = std::exchange(entry->second, static_cast<std::uint32_t>(place));
    }
    Matches matches(nowCount, kNew);
    for (std::size_t place = 0; place < nowCount; ++place) {
        const auto found = first.find(keyOf(now, place));
        if (found == first.end() || found->second == kNew) continue;
        matches[place] = found->second;
        found->second = next[found->second];
    }
    return matches;
}

// For each handle, the place of the item that it belongs to.
template <typename Item>
std::vector<std::uint32_t> ownersOf(const std::vector<Item>& items, std::size_t handles) {
    std::vector<std::uint32_t> owners(handles, 0);
    for (std::uint32_t owner = 0; owner < items.size(); ++owner) {
        const HandleRange range = items[owner].handles;
        std::fill_n(owners.begin() + range.first, range.count, owner);
    }
    return owners;
}

}  // namespace

Matches matchFiles(const Record& before, const Record& now) {
    return match(before, before.files.size(), now, now.files.size(), [](const Record& record, std::size_t place) {
        return std::tuple(record.name(record.files[place].name));
    });
}

Matches matchSessions(const Record& before, const Record& now) {
    return match(before, before.sessions.size(), now, now.sessions.size(), [](const Record& record, std::size_t place) {
        const SessionItem& session = record.sessions[place];
        return std::tuple(record.name(session.clientId), session.idWord, session.taskNumber, record.name(session.name));
    });
}

Matches matchConnections(const Record& before, const Record& now) {
    return match(before, before.connections.size(), now, now.connections.size(),
                 [](const Record& record, std::size_t place) {
                     const ConnectionItem& item = record.connections[place];
                     return std::tuple(record.name(item.user), record.name(item.host), record.name(item.address),
                                       record.name(item.application), record.name(item.dataSource));
                 });
}

Matches matchFileHandles(const Record& before, const Record& now) {
    const auto oldOwners = ownersOf(before.files, before.fileHandles.size());
    const auto owners = ownersOf(now.files, now.fileHandles.size());
    return match(before, before.fileHandles.size(), now, now.fileHandles.size(),
                 [&](const Record& record, std::size_t place) {
                     const FileHandleItem& handle = record.fileHandles[place];
                     const std::uint32_t owner = (&record == &before ? oldOwners : owners)[place];
                     return std::tuple(record.name(record.files[owner].name), handle.clientIndex,
                                       record.name(handle.client), handle.state.openMode);
                 });
}

Matches matchSessionHandles(const Record& before, const Record& now) {
    const auto oldOwners = ownersOf(before.sessions, before.sessionHandles.size());
    const auto owners = ownersOf(now.sessions, now.sessionHandles.size());
    return match(before, before.sessionHandles.size(), now, now.sessionHandles.size(),
                 [&](const Record& record, std::size_t place) {
                     const SessionHandleItem& handle = record.sessionHandles[place];
                     const SessionItem& owner = record.sessions[(&record == &before ? oldOwners : owners)[place]];
                     return std::tuple(record.name(owner.clientId), owner.idWord, owner.taskNumber,
                                       record.name(owner.name), record.name(handle.file), handle.state.openMode);
                 });
}

Matches matchWaits(const Record& before, const Record& now) {
    return match(before, before.waits.size(), now, now.waits.size(), [](const Record& record, std::size_t place) {
        const WaitItem& wait = record.waits[place];
        return std::tuple(record.name(wait.file), wait.clientIndex, record.name(wait.client), wait.waitState);
    });
}

}  // namespace vexo
