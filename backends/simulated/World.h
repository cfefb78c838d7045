// SPDX-License-Identifier: MIT
// The engine's contents in any round: the scenario's items as its life has changed them.
#ifndef XRSIM_WORLD_H
#define XRSIM_WORLD_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "Scenario.h"
#include "Snapshot.h"

namespace xrsim {

class World {
public:
    explicit World(Scenario scenario) : m_scenario(std::move(scenario)) {}

    const Scenario& scenario() const { return m_scenario; }
    // 0 when an account allows this user on this server.
    Status admits(std::string_view server, std::string_view user, std::string_view password) const;
    std::uint32_t uptimeSeconds(Round round) const;

    Snapshot files(Round round) const;
    // The name, in `buffer` where it is generated. Without a NUL where it fills the whole field.
    std::string_view fileName(Item file, char (&buffer)[XR_NAME_SIZE]) const;
    std::optional<Item> findFile(const Snapshot& files, std::string_view name) const;
    void fillFile(Item file, Round round, XRFILEINFO& info) const;
    std::uint32_t fileHandles(Item file, Round round) const;
    // False past the last handle; `info` is untouched then.
    bool fillFileHandle(Item file, Round round, std::uint32_t index, XRFILEHANDLEINFO& info) const;

    Snapshot sessions(Round round) const;
    void fillClient(Item session, XRCLIENTID& id) const;
    std::optional<Item> findSession(const Snapshot& sessions, const XRCLIENTID& id) const;
    void fillSession(Item session, Round round, XRKESDCLIENTINFO& info) const;
    std::uint32_t sessionHandles(Item session, Round round) const;
    bool fillSessionHandle(Item session, Round round, std::uint32_t index, XRKESDCLIENTHANDLEINFO& info) const;

    Snapshot connections(Round round) const;
    void fillConnection(Item connection, Round round, XRSQLCONNINFO& info) const;

private:
    std::uint32_t firstGenerated(Round round) const;
    bool isOpen(const File& file, Round round) const;
    bool isConnected(std::size_t session, Round round) const;
    bool isPresent(const Handle& handle, Round round) const;
    std::uint32_t presentHandles(const std::vector<Handle>& handles, Round round) const;
    const Handle* presentHandle(const std::vector<Handle>& handles, Round round, std::uint32_t index) const;
    std::uint32_t generatedHandles(Item item, Round round, std::uint32_t usual) const;

    Scenario m_scenario;
};

// How a file's name reads in the caller's buffer: up to its NUL, with room for one.
inline std::string_view nameKey(std::string_view name) {
    return name.substr(0, std::min<std::size_t>(name.find('\0'), XR_NAME_SIZE - 1));
}

}  // namespace xrsim

#endif
