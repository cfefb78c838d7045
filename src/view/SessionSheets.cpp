// SPDX-License-Identifier: MIT
// The sessions, the handles of one, and the SQL connections.
#include "view/Sheet.h"

namespace vexo {
namespace {

using Kind = Value::Kind;

const SessionItem& session(const Facts& facts, std::uint32_t item) {
    return facts.now().sessions[item];
}

template <NameId SessionItem::*name>
Value nameValue(const Facts& facts, std::uint32_t item) {
    return textValue(facts.now().name(session(facts, item).*name));
}

template <auto count>
Value numberValueOf(const Facts& facts, std::uint32_t item) {
    return countValue(session(facts, item).*count);
}

template <std::uint32_t HandleCounts::*count>
Value handlesValue(const Facts& facts, std::uint32_t item) {
    constexpr Style kStyle = count == &HandleCounts::waiting ? Style::kWait : Style::kPlain;
    return handleCountValue(facts, session(facts, item).counts.*count, kStyle);
}

template <Rate SessionRates::*rate>
Value rateValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Kind::kRate, facts.ratesOf(item).*rate);
}

Value cacheValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Kind::kShare, facts.ratesOf(item).cacheShare);
}

Value writesValue(const Facts& facts, std::uint32_t item) {
    const SessionRates rates = facts.ratesOf(item);
    if (!rates.recordsInserted || !rates.recordsUpdated || !rates.recordsDeleted) return {};
    return numberValue(Kind::kRate, *rates.recordsInserted + *rates.recordsUpdated + *rates.recordsDeleted);
}

Value connectionNumberValue(const Facts& facts, std::uint32_t item) {
    constexpr std::uint32_t kLast = 32000;
    const std::uint32_t number = session(facts, item).connectionNumber;
    return number > kLast ? Value{} : countValue(number);
}

Value sessionTransactionValue(const Facts& facts, std::uint32_t item) {
    return transactionValue(facts, session(facts, item).transactionState);
}

Value siteValue(const Facts& facts, std::uint32_t item) {
    return wordValue(facts, Codes::kSite, session(facts, item).site, "SITE_");
}

const SessionHandleItem& handle(const Facts& facts, std::uint32_t item) {
    return facts.now().sessionHandles[item];
}

Value fileValue(const Facts& facts, std::uint32_t item) {
    return textValue(facts.now().name(handle(facts, item).file));
}

template <Value (*word)(const Facts&, const HandleState&)>
Value stateValue(const Facts& facts, std::uint32_t item) {
    return word(facts, handle(facts, item).state);
}

const ConnectionItem& connection(const Facts& facts, std::uint32_t item) {
    return facts.now().connections[item];
}

template <NameId ConnectionItem::*name>
Value connectionText(const Facts& facts, std::uint32_t item) {
    return textValue(facts.now().name(connection(facts, item).*name));
}

Value statusValue(const Facts& facts, std::uint32_t item) {
    return wordValue(facts, Codes::kConnectionStatus, connection(facts, item).status, "STATE_");
}

Value periodValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Kind::kMillis, static_cast<double>(connection(facts, item).periodMs));
}

Value totalTimeValue(const Facts& facts, std::uint32_t item) {
    return countValue(connection(facts, item).totalTime);
}

constexpr Column kSessionsColumns[] = {
    nameColumn("COLUMN_SESSION", 0, 10, 44, Cut::kMiddle, nameValue<&SessionItem::name>),
    addressColumn("COLUMN_ADDRESS", 2, nameValue<&SessionItem::address>),
    numberColumn("COLUMN_LOCKS", 1, 5, numberValueOf<&SessionItem::locksUsed>),
    wordColumn("COLUMN_TRANSACTION", 2, 6, sessionTransactionValue),
    numberColumn("COLUMN_READS", 1, 6, rateValue<&SessionRates::recordsRead>),
    numberColumn("COLUMN_WRITES", 1, 7, writesValue),
    numberColumn("COLUMN_DISK", 3, 6, rateValue<&SessionRates::diskAccesses>),
    numberColumn("COLUMN_CACHE", 4, 6, cacheValue),
    numberColumn("COLUMN_HANDLES", 5, 7, handlesValue<&HandleCounts::all>),
    numberColumn("COLUMN_WAITING", 5, 4, handlesValue<&HandleCounts::waiting>),
    numberColumn("COLUMN_INSERTS", 6, 6, rateValue<&SessionRates::recordsInserted>),
    numberColumn("COLUMN_UPDATES", 6, 6, rateValue<&SessionRates::recordsUpdated>),
    numberColumn("COLUMN_DELETES", 6, 6, rateValue<&SessionRates::recordsDeleted>),
    upward(numberColumn("COLUMN_PID", 7, 7, numberValueOf<&SessionItem::pid>)),
    upward(wordColumn("COLUMN_SITE", 8, 6, siteValue)),
    nameColumn("COLUMN_CLIENT_ID", 9, 12, 12, Cut::kMiddle, nameValue<&SessionItem::clientId>),
    upward(numberColumn("COLUMN_TASK", 10, 5, numberValueOf<&SessionItem::taskNumber>)),
    upward(numberColumn("COLUMN_CONNECTION", 11, 5, connectionNumberValue)),
};

constexpr Column kSessionHandlesColumns[] = {
    nameColumn("COLUMN_FILE", 0, 12, 80, Cut::kStart, fileValue),
    wordColumn("COLUMN_WAITS_FOR", 1, 6, stateValue<waitStateValue>),
    wordColumn("COLUMN_LOCK", 1, 6, stateValue<recordLockValue>),
    wordColumn("COLUMN_TRANSACTION", 1, 6, stateValue<transactionStateValue>),
    wordColumn("COLUMN_MODE", 2, 8, stateValue<openModeValue>),
};

constexpr Column kConnectionsColumns[] = {
    nameColumn("COLUMN_USER", 0, 8, 28, Cut::kMiddle, connectionText<&ConnectionItem::user>),
    nameColumn("COLUMN_HOST", 1, 8, 28, Cut::kEnd, connectionText<&ConnectionItem::host>),
    addressColumn("COLUMN_ADDRESS", 3, connectionText<&ConnectionItem::address>),
    nameColumn("COLUMN_APPLICATION", 2, 8, 28, Cut::kMiddle, connectionText<&ConnectionItem::application>),
    upward(wordColumn("COLUMN_STATE", 1, 7, statusValue)),
    numberColumn("COLUMN_PERIOD", 1, 7, periodValue),
    nameColumn("COLUMN_DATA_SOURCE", 5, 8, 28, Cut::kMiddle, connectionText<&ConnectionItem::dataSource>),
    numberColumn("COLUMN_TOTAL", 6, 10, totalTimeValue),
};

Items rowsOfSessions(const Facts& facts, std::uint32_t /*owner*/) {
    return placesFrom(0, facts.now().sessions.size());
}

Items rowsOfSessionHandles(const Facts& facts, std::uint32_t owner) {
    const HandleRange range = session(facts, owner).handles;
    return placesFrom(range.first, range.count);
}

Items rowsOfConnections(const Facts& facts, std::uint32_t /*owner*/) {
    return placesFrom(0, facts.now().connections.size());
}

}  // namespace

const Sheet& sessionsSheet() {
    static const Sheet kSheet = {"SESSIONS", Section::kSessions, columnsOf(kSessionsColumns),
                                 4,          rowsOfSessions,     matchSessions};
    return kSheet;
}

const Sheet& sessionHandlesSheet() {
    static const Sheet kSheet = {"SESSION_HANDLES",    Section::kSessions, columnsOf(kSessionHandlesColumns), 1,
                                 rowsOfSessionHandles, matchSessionHandles};
    return kSheet;
}

const Sheet& connectionsSheet() {
    static const Sheet kSheet = {"CONNECTIONS",     Section::kConnections, columnsOf(kConnectionsColumns), 4,
                                 rowsOfConnections, matchConnections};
    return kSheet;
}

}  // namespace vexo
