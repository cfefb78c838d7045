// SPDX-License-Identifier: MIT
#include "monitor/CodeTables.h"

#include "foundation/Piece.h"
#include "monitor/MonitorProcessor.h"
#include "monitor/Protocols.h"

namespace vexo {
namespace {

constexpr std::size_t kTableCapacity = 101;
constexpr float kTableLoadFactor = 0.75F;
constexpr unsigned long kLastConnectionNumber = 32000;

// A code and its words in the two forms.
struct Code {
    int key;
    StringView text;
    StringView json;
};

// A code and its words, the same in both forms.
struct PlainCode {
    int key;
    StringView text;
};

constexpr Code kBooleanFlags[] = {
    {'N', L"No",  L"false"},
    {'Y', L"Yes", L"true" },
};

// Established output: the first word of the last two JSON forms has no closing quote.
constexpr Code kOpenModes[] = {
    {0,   L"Normal",                         L"\"Normal\""                            },
    {255, L"Accelerated",                    L"\"Accelerated\""                       },
    {254, L"Read-only",                      L"\"Read-only\""                         },
    {253, L"Verify",                         L"\"Verify\""                            },
    {252, L"Exclusive",                      L"\"Exclusive\""                         },
    {248, L"Normal, non-transactional",      L"\"Normal\", \"non-transactional\""     },
    {247, L"Accelerated, non-transactional", L"\"Accelerated\", \"non-transactional\""},
    {246, L"Read-only, non-transactional",   L"\"Read-only\", \"non-transactional\""  },
    {245, L"Verify, non-transactional",      L"\"Verify\", \"non-transactional\""     },
    {244, L"Exclusive, non-transactional",   L"\"Exclusive\", \"non-transactional\""  },
    {240, L"Normal, shared locking",         L"\"Normal\", \"shared locking\""        },
    {239, L"Accelerated, shared locking",    L"\"Accelerated\", \"shared locking\""   },
    {238, L"Read-only, shared locking",      L"\"Read-only\", \"shared locking\""     },
    {237, L"Verify, shared locking",         L"\"Verify, \"shared locking\""          },
    {236, L"Exclusive, shared locking",      L"\"Exclusive, \"shared locking\""       },
};

constexpr PlainCode kRecordLockTypes[] = {
    {'N', L"None"          },
    {'S', L"Single Lock"   },
    {'M', L"Multiple Locks"},
};

constexpr PlainCode kTransactionStates[] = {
    {0,    L"None"           },
    {19,   L"Exclusive Lock" },
    {1019, L"Concurrent Lock"},
};

constexpr PlainCode kWaitStates[] = {
    {0, L"None"  },
    {1, L"Record"},
    {2, L"File"  },
};

constexpr PlainCode kSites[] = {
    {0, L"Remote"},
    {1, L"Local" },
};

Ref<CodeTable> emptyTable() {
    auto table = makeRef<CodeTable>();
    table->words.max_load_factor(kTableLoadFactor);
    table->words.rehash(kTableCapacity);
    return table;
}

template <std::size_t Count>
Ref<CodeTable> makeTable(const Code (&codes)[Count], bool json) {
    auto table = emptyTable();
    for (const Code& code : codes)
        table->words.emplace(code.key, json ? code.json : code.text);
    return table;
}

template <std::size_t Count>
Ref<CodeTable> makeTable(const PlainCode (&codes)[Count]) {
    auto table = emptyTable();
    for (const PlainCode& code : codes)
        table->words.emplace(code.key, code.text);
    return table;
}

Ref<CodeTable> makeTable(StringView Protocol::*label) {
    auto table = emptyTable();
    for (const Protocol& protocol : kProtocols)
        table->words.emplace(protocol.code, protocol.*label);
    return table;
}

}  // namespace

void MonitorProcessor::createMaps(bool json) {
    m_booleanFlags = makeTable(kBooleanFlags, json);
    m_openModes = makeTable(kOpenModes, json);
    m_recordLockTypes = makeTable(kRecordLockTypes);
    m_transactionStates = makeTable(kTransactionStates);
    m_waitStates = makeTable(kWaitStates);
    m_sites = makeTable(kSites);
    m_protocolRequests = makeTable(&Protocol::requestsLabel);
    m_protocolSessions = makeTable(&Protocol::sessionsLabel);
}

StringView MonitorProcessor::getMapValue(const Ref<CodeTable>& map, int key) {
    const auto word = map->words.find(key);
    return word != map->words.end() ? word->second : NA;
}

String MonitorProcessor::getConnectionString(unsigned long count) {
    return count > kLastConnectionNumber ? String(NA) : decimal(count);
}

StringView MonitorProcessor::getStatusString(int state) {
    return state == 0 ? L"Idle" : state == 1 ? L"Active" : L"Dying";
}

String MonitorProcessor::getMaxValue(long maximum) {
    return maximum == 0 ? String(L"unlimited") : decimal(maximum);
}

}  // namespace vexo
