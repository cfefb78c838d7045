// SPDX-License-Identifier: MIT
// Generated handles are numbered through, file by file. A handle's number gives its session and back, so the list of
// a file's handles and the list of a session's handles agree although neither is stored.
#ifndef XRSIM_GENERATEDHANDLE_H
#define XRSIM_GENERATEDHANDLE_H

#include <algorithm>
#include <cstdint>

#include "Scenario.h"

namespace xrsim {

// `first` is the lowest number among the generated files and sessions of the round.
inline std::uint32_t holderOf(std::uint64_t handle, const Generated& generated, std::uint32_t first) {
    return first + static_cast<std::uint32_t>(handle % std::max(generated.sessions, 1U));
}

// The number of the handle that the session holds as its `index`th. Starts again at the first handles where the sessions
// hold more handles than there are.
inline std::uint64_t handleHeld(std::uint32_t session, std::uint32_t index, const Generated& generated,
                                std::uint32_t first) {
    const std::uint64_t perFile = std::max(generated.handlesPerFile, 1U);
    const std::uint64_t sessions = std::max(generated.sessions, 1U);
    const std::uint64_t lowest = first * perFile;
    const std::uint64_t all = std::max(generated.files, 1U) * perFile;
    const std::uint64_t toSession = (session - first + sessions - lowest % sessions) % sessions;
    return lowest + (toSession + index * sessions) % all;
}

inline std::uint32_t fileOf(std::uint64_t handle, const Generated& generated) {
    return static_cast<std::uint32_t>(handle / std::max(generated.handlesPerFile, 1U));
}

// Mostly idle handles, with an occasional lock or wait.
template <typename Record>
void fillCodes(const Life& life, std::uint64_t handle, Record& record) {
    constexpr std::uint8_t kOpenModes[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 254, 254, 255, 252, 248};
    constexpr std::uint8_t kLocks[16] = {'S', 'S', 'M', 'N', 'N', 'N', 'N', 'N',
                                         'N', 'N', 'N', 'N', 'N', 'N', 'N', 'N'};
    constexpr std::uint16_t kTransactions[16] = {19, 1019, 1019};
    const std::uint64_t bits = life.random(handle, 0);
    record.openMode = kOpenModes[bits % 16];
    record.recordLockType = kLocks[(bits >> 4) % 16];
    record.waitState = (bits >> 8) % 64 == 0 ? 1 : 0;
    record.transactionState = kTransactions[(bits >> 14) % 16];
}

}  // namespace xrsim

#endif
