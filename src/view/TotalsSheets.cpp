// SPDX-License-Identifier: MIT
// The engine as a whole: its resources against their limits, and its requests.
#include <algorithm>

#include "view/Sheet.h"

namespace vexo {
namespace {

using Kind = Value::Kind;

struct Resource {
    const char* name;  // key of its text
    Amount Usage::*amount;
    Kind kind = Kind::kCount;
};

constexpr Resource kResources[] = {
    {"RESOURCE_SESSIONS",       &Usage::sessions                    },
    {"RESOURCE_USERS",          &Usage::users                       },
    {"RESOURCE_CLIENTS",        &Usage::clients                     },
    {"RESOURCE_FILES",          &Usage::files                       },
    {"RESOURCE_HANDLES",        &Usage::handles                     },
    {"RESOURCE_LOCKS",          &Usage::locks                       },
    {"RESOURCE_TRANSACTIONS",   &Usage::transactions                },
    {"RESOURCE_WORKER_THREADS", &Usage::workerThreads               },
    {"RESOURCE_DATA",           &Usage::dataInUseBytes, Kind::kBytes},
};

const Amount& amount(const Facts& facts, std::uint32_t item) {
    return (*facts.now().usage).*(kResources[item].amount);
}

Value limitValue(const Facts& facts, const Amount& amount, Kind kind) {
    if (amount.limit == 0) return textValue(facts.texts()["UNLIMITED"]);
    return numberValue(kind, static_cast<double>(amount.limit));
}

// Against the limit, or where there is none against the peak.
Value barValue(const Amount& amount) {
    Value value = numberValue(Kind::kBar, 0.0);
    value.isOpen = amount.limit <= 0;
    const double whole = static_cast<double>(value.isOpen ? amount.peak : static_cast<std::uint64_t>(amount.limit));
    if (whole == 0) return value;
    value.number = static_cast<double>(amount.current) / whole;
    value.peak = static_cast<double>(amount.peak) / whole;
    return value;
}

Value shareValue(const Amount& amount) {
    if (amount.limit <= 0) return {};
    return numberValue(Kind::kShare, static_cast<double>(amount.current) / static_cast<double>(amount.limit));
}

// One line of the communications.
struct CommunicationLine {
    const char* name;                 // key of its text
    const ProtocolItem* protocol;     // null for the engine as a whole
    std::optional<std::uint64_t> count;  // since the engine started
    Rate rate;
    std::optional<std::uint64_t> current;
    std::optional<std::uint64_t> peak;
    const Amount* amount = nullptr;
};

constexpr std::uint32_t kFixedLines = 5;

CommunicationLine fixedLine(const Facts& facts, std::uint32_t item) {
    const Communication& all = *facts.now().communication;
    const auto ofAmount = [](const char* name, const Amount& amount) {
        return CommunicationLine{name, nullptr, {}, {}, amount.current, amount.peak, &amount};
    };
    const CommunicationRates rates = facts.communication();
    switch (item) {
        case 0: return {"COMM_REQUESTS", nullptr, all.requests, rates.requests, {}, {}};
        case 1: return ofAmount("COMM_REMOTE_SESSIONS", all.remoteSessions);
        case 2: return ofAmount("COMM_THREADS", all.threads);
        case 3: return {"COMM_TIMEOUTS", nullptr, all.connectionTimeouts, rates.connectionTimeouts, {}, {}};
        default: return {"COMM_RECOVERIES", nullptr, all.connectionRecoveries, rates.connectionRecoveries, {}, {}};
    }
}

CommunicationLine line(const Facts& facts, std::uint32_t item) {
    if (item < kFixedLines) return fixedLine(facts, item);
    const ProtocolItem& protocol = facts.now().protocols[item - kFixedLines];
    return {"COMM_PROTOCOL",          &protocol,           protocol.requests, facts.requestsOf(protocol),
            protocol.sessionsCurrent, protocol.sessionsPeak};
}

Value lineNameValue(const Facts& facts, std::uint32_t item) {
    const CommunicationLine it = line(facts, item);
    if (!it.protocol) return textValue(facts.texts()[it.name]);
    Value value = wordValue(facts, Codes::kProtocol, it.protocol->type, "PROTOCOL_");
    value.before = facts.texts()[it.name] + " " + value.before;
    return value;
}

}  // namespace

const Sheet& usageSheet() {
    static const Sheet kSheet = {
        "USAGE",
        Section::kUsage,
        {
            {"COLUMN_RESOURCE", [](const Facts& f, std::uint32_t i) { return textValue(f.texts()[kResources[i].name]); }, 14,
             18, 0, Side::kLeft, Cut::kEnd, false},
            {"COLUMN_NOW",
             [](const Facts& f, std::uint32_t i) {
                 return numberValue(kResources[i].kind, static_cast<double>(amount(f, i).current));
             },
             7, 7, 0},
            {"COLUMN_PEAK",
             [](const Facts& f, std::uint32_t i) {
                 return numberValue(kResources[i].kind, static_cast<double>(amount(f, i).peak));
             },
             7, 7, 1},
            {"COLUMN_LIMIT", [](const Facts& f, std::uint32_t i) { return limitValue(f, amount(f, i), kResources[i].kind); },
             10, 10, 1},
            {"COLUMN_USED", [](const Facts& f, std::uint32_t i) { return shareValue(amount(f, i)); }, 5, 5, 2},
            {"COLUMN_BAR", [](const Facts& f, std::uint32_t i) { return barValue(amount(f, i)); }, 12, 26, 3, Side::kLeft},
        },
        kUnsorted,
        [](const Facts& f, std::uint32_t) { return placesFrom(0, f.now().usage ? std::size(kResources) : 0); },
    };
    return kSheet;
}

const Sheet& communicationsSheet() {
    static const Sheet kSheet = {
        "COMMUNICATIONS",
        Section::kCommunications,
        {
            {"COLUMN_WHAT", lineNameValue, 16, 28, 0, Side::kLeft, Cut::kEnd, false},
            {"COLUMN_RATE", [](const Facts& f, std::uint32_t i) { return numberValue(Kind::kRate, line(f, i).rate); }, 7, 7,
             0},
            {"COLUMN_COUNT", [](const Facts& f, std::uint32_t i) { return numberValue(Kind::kCount, line(f, i).count); }, 10,
             12, 1},
            {"COLUMN_NOW", [](const Facts& f, std::uint32_t i) { return numberValue(Kind::kCount, line(f, i).current); }, 7,
             7, 0},
            {"COLUMN_PEAK", [](const Facts& f, std::uint32_t i) { return numberValue(Kind::kCount, line(f, i).peak); }, 7, 7,
             1},
            {"COLUMN_LIMIT",
             [](const Facts& f, std::uint32_t i) {
                 const Amount* const amount = line(f, i).amount;
                 return amount ? limitValue(f, *amount, Kind::kCount) : Value{};
             },
             10, 10, 2},
        },
        kUnsorted,
        [](const Facts& f, std::uint32_t) {
            return placesFrom(0, f.now().communication ? kFixedLines + f.now().protocols.size() : 0);
        },
    };
    return kSheet;
}

}  // namespace vexo
