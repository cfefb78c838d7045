// SPDX-License-Identifier: MIT
// The engine's codes as words for programs: lower case, joined by underscores, the same in every language.
#ifndef VEXO_RECORD_CODES_H
#define VEXO_RECORD_CODES_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "record/Record.h"

namespace vexo {

// The kinds of codes. A flag's words are "true" and "false".
enum class Codes : std::uint8_t {
    kFlag,
    kOpenMode,
    kRecordLock,
    kWaitState,
    kTransactionState,
    kSite,
    kConnectionStatus,
    kProtocol
};

// The word of a code; empty for an unknown one. Sites and the transaction states of sessions count by their low 16 bits,
// and every connection status but idle and active is dying.
std::string_view wordOf(Codes kind, std::int64_t code);
// The code of a word, which is the least one of those that share it.
std::optional<std::int64_t> codeOf(Codes kind, std::string_view word);

// The words of the program's own enumerations.
std::string_view wordOf(Section section);
std::string_view wordOf(HandleScope scope);
std::string_view wordOf(EventKind kind);
std::optional<Section> sectionOf(std::string_view word);
std::optional<HandleScope> scopeOf(std::string_view word);
std::optional<EventKind> eventKindOf(std::string_view word);

inline constexpr std::uint8_t kFlagSet = 'Y';
inline constexpr std::uint8_t kSingleLock = 'S';
inline constexpr std::uint8_t kMultipleLocks = 'M';
inline constexpr std::uint8_t kNoLock = 'N';
inline constexpr std::uint8_t kWaitsForRecord = 1;
inline constexpr std::uint8_t kWaitsForFile = 2;
inline constexpr std::uint16_t kExclusiveTransaction = 19;
inline constexpr std::uint16_t kConcurrentTransaction = 1019;

inline bool waits(const HandleState& state) {
    return state.waitState != 0;
}
inline bool locks(const HandleState& state) {
    return state.recordLock == kSingleLock || state.recordLock == kMultipleLocks;
}
// Whether a record of HandleScope::kNoted lists the handle: it waits, locks, has a transaction, or an unknown code.
inline bool isNoted(const HandleState& state) {
    return waits(state) || state.recordLock != kNoLock || state.transactionState != 0;
}

}  // namespace vexo

#endif
