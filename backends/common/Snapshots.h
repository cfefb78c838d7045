// SPDX-License-Identifier: MIT
// What a data call freezes and the item calls read.
#ifndef VEXO_COMMON_SNAPSHOTS_H
#define VEXO_COMMON_SNAPSHOTS_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Codes.h"
#include "xradmin.h"

namespace xr {

// All that one session has locked, or waits for, of one table or other object.
struct Handle {
    std::uint32_t session = 0;  // index into the sessions
    std::uint32_t object = 0;   // index into the tables
    std::uint8_t openMode = 0;
    std::uint8_t recordLockType = kNoRecordLock;
    WaitState waitState = WaitState::kNone;
    std::uint16_t transactionState = kNoTransaction;
};

struct FileSnapshot {
    using HandleList = std::vector<std::uint32_t>;
    struct File {
        std::string name;
        XRFILEINFO info{};
        std::shared_ptr<const HandleList> handles;  // indexes, null for none; files of one table share them
    };
    struct Client {
        std::uint64_t id = 0;
        std::string name;
    };
    std::vector<File> files;
    std::unordered_map<std::string_view, std::size_t> byName;  // of the files above
    std::vector<Handle> handles;
    std::vector<Client> clients;  // by session of a handle

    // Completes a snapshot whose lists are filled: the lock flags of the files, and the search by name.
    void finish();
};

struct SessionSnapshot {
    struct Session {
        XRCLIENTID id{};
        XRKESDCLIENTINFO info{};
        std::uint32_t firstHandle = 0;  // its handles follow each other
        std::uint32_t handleCount = 0;
    };
    std::vector<Session> sessions;
    std::unordered_map<std::string, std::size_t> byId;  // by the text of the id
    std::vector<Handle> handles;
    std::vector<std::string> files;  // by object of a handle
    std::optional<XRKESDCLIENTHANDLEINFO>
        standIn;  // for the handles of a session that has none, where they are unknown

    // Appends a session under its number, of which the id's parts are made, or under a text of its own.
    Session& add(std::uint64_t number);
    Session& add(const std::string& text);
};

}  // namespace xr

#endif
