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
    Kind kind;
};

constexpr Resource kResources[] = {
    {"RESOURCE_SESSIONS",       &Usage::sessions,       Kind::kCount},
    {"RESOURCE_USERS",          &Usage::users,          Kind::kCount},
    {"RESOURCE_CLIENTS",        &Usage::clients,        Kind::kCount},
    {"RESOURCE_FILES",          &Usage::files,          Kind::kCount},
    {"RESOURCE_HANDLES",        &Usage::handles,        Kind::kCount},
    {"RESOURCE_LOCKS",          &Usage::locks,          Kind::kCount},
    {"RESOURCE_TRANSACTIONS",   &Usage::transactions,   Kind::kCount},
    {"RESOURCE_WORKER_THREADS", &Usage::workerThreads,  Kind::kCount},
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
Value barValue(const Facts& facts, std::uint32_t item) {
    const Amount& it = amount(facts, item);
    Value value = numberValue(Kind::kBar, 0.0);
    value.isOpen = it.limit <= 0;
    const double whole =
        static_cast<double>(value.isOpen ? std::max(it.peak, it.current) : static_cast<std::uint64_t>(it.limit));
    if (whole == 0) return value;
    value.number = static_cast<double>(it.current) / whole;
    value.peak = static_cast<double>(it.peak) / whole;
    return value;
}

Value shareValue(const Facts& facts, std::uint32_t item) {
    const Amount& it = amount(facts, item);
    if (it.limit <= 0) return {};
    return numberValue(Kind::kShare, static_cast<double>(it.current) / static_cast<double>(it.limit));
}

Value resourceValue(const Facts& facts, std::uint32_t item) {
    return textValue(facts.texts()[kResources[item].name]);
}

template <std::uint64_t Amount::*part>
Value partValue(const Facts& facts, std::uint32_t item) {
    return numberValue(kResources[item].kind, static_cast<double>(amount(facts, item).*part));
}

Value resourceLimitValue(const Facts& facts, std::uint32_t item) {
    return limitValue(facts, amount(facts, item), kResources[item].kind);
}

// One line of the communications.
struct CommunicationLine {
    const char* name;                    // key of its text
    const ProtocolItem* protocol;        // null for the engine as a whole
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
        case 0:
            return {"COMM_REQUESTS", nullptr, all.requests, rates.requests, {}, {}};
        case 1:
            return ofAmount("COMM_REMOTE_SESSIONS", all.remoteSessions);
        case 2:
            return ofAmount("COMM_THREADS", all.threads);
        case 3:
            return {"COMM_TIMEOUTS", nullptr, all.connectionTimeouts, rates.connectionTimeouts, {}, {}};
        default:
            return {"COMM_RECOVERIES", nullptr, all.connectionRecoveries, rates.connectionRecoveries, {}, {}};
    }
}

CommunicationLine line(const Facts& facts, std::uint32_t item) {
    if (item < kFixedLines) return fixedLine(facts, item);
    const ProtocolItem& protocol = facts.now().protocols[item - kFixedLines];
    return {"COMM_PROTOCOL",      &protocol, protocol.requests, facts.requestsOf(protocol), protocol.sessionsCurrent,
            protocol.sessionsPeak};
}

Value lineNameValue(const Facts& facts, std::uint32_t item) {
    const CommunicationLine it = line(facts, item);
    if (!it.protocol) return textValue(facts.texts()[it.name]);
    Value value = wordValue(facts, Codes::kProtocol, it.protocol->type, "PROTOCOL_");
    value.before = facts.texts()[it.name] + " " + value.before;
    return value;
}

template <auto part>
Value linePartValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Kind::kCount, line(facts, item).*part);
}

Value lineRateValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Kind::kRate, line(facts, item).rate);
}

Value lineLimitValue(const Facts& facts, std::uint32_t item) {
    const Amount* const amount = line(facts, item).amount;
    return amount ? limitValue(facts, *amount, Kind::kCount) : Value{};
}

constexpr Column barColumn(const char* heading, int priority, int least, int most) {
    return {heading, barValue, least, most, priority, Side::kLeft};
}

constexpr Column kUsageColumns[] = {
    nameColumn("COLUMN_RESOURCE", 0, 14, 24, Cut::kEnd, resourceValue),
    numberColumn("COLUMN_NOW", 0, 7, partValue<&Amount::current>),
    numberColumn("COLUMN_PEAK", 1, 7, partValue<&Amount::peak>),
    numberColumn("COLUMN_LIMIT", 1, 10, resourceLimitValue),
    numberColumn("COLUMN_USED", 2, 5, shareValue),
    barColumn("COLUMN_BAR", 3, 12, 60),
};

constexpr Column kCommunicationsColumns[] = {
    nameColumn("COLUMN_WHAT", 0, 16, 28, Cut::kEnd, lineNameValue),
    numberColumn("COLUMN_RATE", 0, 7, lineRateValue),
    numberColumn("COLUMN_COUNT", 1, 12, linePartValue<&CommunicationLine::count>),
    numberColumn("COLUMN_NOW", 0, 7, linePartValue<&CommunicationLine::current>),
    numberColumn("COLUMN_PEAK", 1, 7, linePartValue<&CommunicationLine::peak>),
    numberColumn("COLUMN_LIMIT", 2, 10, lineLimitValue),
};

Items rowsOfUsage(const Facts& facts, std::uint32_t /*owner*/) {
    return placesFrom(0, facts.now().usage ? std::size(kResources) : 0);
}

Items rowsOfCommunications(const Facts& facts, std::uint32_t /*owner*/) {
    return placesFrom(0, facts.now().communication ? kFixedLines + facts.now().protocols.size() : 0);
}

}  // namespace

const Sheet& usageSheet() {
    static const Sheet kSheet = {"USAGE", Section::kUsage, columnsOf(kUsageColumns), kUnsorted, rowsOfUsage};
    return kSheet;
}

const Sheet& communicationsSheet() {
    static const Sheet kSheet = {"COMMUNICATIONS", Section::kCommunications, columnsOf(kCommunicationsColumns),
                                 kUnsorted, rowsOfCommunications};
    return kSheet;
}

}  // namespace vexo
