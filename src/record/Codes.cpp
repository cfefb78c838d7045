// SPDX-License-Identifier: MIT
#include "record/Codes.h"

#include <algorithm>
#include <iterator>

namespace vexo {
namespace {

struct Word {
    std::int64_t code;
    std::string_view word;
};

struct Table {
    const Word* first;
    const Word* last;
    const Word* begin() const { return first; }
    const Word* end() const { return last; }
};

template <std::size_t Count>
constexpr Table tableOf(const Word (&words)[Count]) {
    return {words, words + Count};
}

constexpr Word kFlags[] = {
    {'N',      "false"},
    {kFlagSet, "true" },
};

constexpr Word kOpenModes[] = {
    {0,   "normal"                       },
    {255, "accelerated"                  },
    {254, "read_only"                    },
    {253, "verify"                       },
    {252, "exclusive"                    },
    {248, "normal_non_transactional"     },
    {247, "accelerated_non_transactional"},
    {246, "read_only_non_transactional"  },
    {245, "verify_non_transactional"     },
    {244, "exclusive_non_transactional"  },
    {240, "normal_shared_locking"        },
    {239, "accelerated_shared_locking"   },
    {238, "read_only_shared_locking"     },
    {237, "verify_shared_locking"        },
    {236, "exclusive_shared_locking"     },
};

constexpr Word kRecordLocks[] = {
    {kNoLock,        "none"    },
    {kSingleLock,    "single"  },
    {kMultipleLocks, "multiple"},
};

constexpr Word kWaitStates[] = {
    {0,               "none"  },
    {kWaitsForRecord, "record"},
    {kWaitsForFile,   "file"  },
};

constexpr Word kTransactionStates[] = {
    {0,                      "none"      },
    {kExclusiveTransaction,  "exclusive" },
    {kConcurrentTransaction, "concurrent"},
};

constexpr Word kSites[] = {
    {0, "remote"},
    {1, "local" },
};

constexpr Word kConnectionStatuses[] = {
    {0, "idle"  },
    {1, "active"},
    {2, "dying" },
};

constexpr Word kProtocols[] = {
    {1,  "spx"    },
    {4,  "tcp_ip" },
    {12, "netbios"},
};

// By Codes.
constexpr Table kTables[] = {tableOf(kFlags),
                             tableOf(kOpenModes),
                             tableOf(kRecordLocks),
                             tableOf(kWaitStates),
                             tableOf(kTransactionStates),
                             tableOf(kSites),
                             tableOf(kConnectionStatuses),
                             tableOf(kProtocols)};

const Table& table(Codes kind) {
    return kTables[static_cast<std::size_t>(kind)];
}

// What of a code its word stands for.
std::int64_t significant(Codes kind, std::int64_t code) {
    if (kind == Codes::kConnectionStatus) return code == 0 || code == 1 ? code : 2;
    if (kind == Codes::kSite || kind == Codes::kTransactionState) return static_cast<std::int16_t>(code);
    return code;
}

constexpr std::string_view kSectionWords[] = {"files", "sessions", "connections", "usage", "communications"};
constexpr std::string_view kScopeWords[] = {"none", "noted", "all"};
constexpr std::string_view kEventWords[] = {"started",         "connected",   "connect_failed", "connection_lost",
                                            "stalled",         "resumed",     "clock_changed",  "ticks_missed",
                                            "records_dropped", "sink_failed", "sink_recovered", "engine_restarted",
                                            "stopped"};

template <typename Enumeration, std::size_t Count>
std::optional<Enumeration> find(const std::string_view (&words)[Count], std::string_view word) {
    const auto* const found = std::find(std::begin(words), std::end(words), word);
    if (found == std::end(words)) return std::nullopt;
    return static_cast<Enumeration>(found - std::begin(words));
}

}  // namespace

std::string_view wordOf(Codes kind, std::int64_t code) {
    const std::int64_t key = significant(kind, code);
    for (const Word& word : table(kind))
        if (word.code == key) return word.word;
    return {};
}

std::optional<std::int64_t> codeOf(Codes kind, std::string_view word) {
    for (const Word& known : table(kind))
        if (known.word == word) return known.code;
    return std::nullopt;
}

std::string_view wordOf(Section section) {
    return kSectionWords[static_cast<std::size_t>(section)];
}

std::string_view wordOf(HandleScope scope) {
    return kScopeWords[static_cast<std::size_t>(scope)];
}

std::string_view wordOf(EventKind kind) {
    return kEventWords[static_cast<std::size_t>(kind)];
}

std::optional<Section> sectionOf(std::string_view word) {
    return find<Section>(kSectionWords, word);
}

std::optional<HandleScope> scopeOf(std::string_view word) {
    return find<HandleScope>(kScopeWords, word);
}

std::optional<EventKind> eventKindOf(std::string_view word) {
    return find<EventKind>(kEventWords, word);
}

}  // namespace vexo
