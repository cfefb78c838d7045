// SPDX-License-Identifier: MIT
// The sessions, the handles of one, and the SQL connections.
#include "view/Sheet.h"

namespace vexo {
namespace {

using Kind = Value::Kind;

const SessionItem& session(const Facts& facts, std::uint32_t item) {
    return facts.now().sessions[item];
}

Value countOf(const Facts& facts, std::uint32_t count, Style style = Style::kPlain) {
    if (facts.now().scope == HandleScope::kNone) return {};
    Value value = countValue(count);
    if (count != 0) value.style = style;
    return value;
}

Value rateValue(const Facts& facts, std::uint32_t item, Rate SessionRates::*rate) {
    return numberValue(Kind::kRate, facts.ratesOf(item).*rate);
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

const SessionHandleItem& handle(const Facts& facts, std::uint32_t item) {
    return facts.now().sessionHandles[item];
}

const ConnectionItem& connection(const Facts& facts, std::uint32_t item) {
    return facts.now().connections[item];
}

Value connectionText(const Facts& facts, std::uint32_t item, NameId ConnectionItem::*name) {
    return textValue(facts.now().name(connection(facts, item).*name));
}

}  // namespace

const Sheet& sessionsSheet() {
    static const Sheet kSheet = {
        "SESSIONS",
        Section::kSessions,
        {
            {"COLUMN_SESSION", [](const Facts& f, std::uint32_t i) { return textValue(f.now().name(session(f, i).name)); },
             12, 22, 0, Side::kLeft, Cut::kMiddle, false},
            {"COLUMN_ADDRESS",
             [](const Facts& f, std::uint32_t i) { return textValue(f.now().name(session(f, i).address)); }, 15, 15, 2,
             Side::kLeft, Cut::kEnd, false},
            {"COLUMN_LOCKS", [](const Facts& f, std::uint32_t i) { return countValue(session(f, i).locksUsed); }, 5, 5, 1},
            {"COLUMN_TRANSACTION",
             [](const Facts& f, std::uint32_t i) { return transactionValue(f, session(f, i).transactionState); }, 5, 5, 2,
             Side::kLeft},
            {"COLUMN_READS",
             [](const Facts& f, std::uint32_t i) { return rateValue(f, i, &SessionRates::recordsRead); }, 6, 6, 1},
            {"COLUMN_WRITES", writesValue, 7, 7, 1},
            {"COLUMN_DISK",
             [](const Facts& f, std::uint32_t i) { return rateValue(f, i, &SessionRates::diskAccesses); }, 6, 6, 3},
            {"COLUMN_CACHE",
             [](const Facts& f, std::uint32_t i) { return numberValue(Kind::kShare, f.ratesOf(i).cacheShare); }, 6, 6, 4},
            {"COLUMN_HANDLES",
             [](const Facts& f, std::uint32_t i) { return countOf(f, session(f, i).counts.all); }, 7, 7, 5},
            {"COLUMN_WAITING",
             [](const Facts& f, std::uint32_t i) { return countOf(f, session(f, i).counts.waiting, Style::kWait); }, 5, 5, 5},
            {"COLUMN_INSERTS",
             [](const Facts& f, std::uint32_t i) { return rateValue(f, i, &SessionRates::recordsInserted); }, 6, 6, 6},
            {"COLUMN_UPDATES",
             [](const Facts& f, std::uint32_t i) { return rateValue(f, i, &SessionRates::recordsUpdated); }, 6, 6, 6},
            {"COLUMN_DELETES",
             [](const Facts& f, std::uint32_t i) { return rateValue(f, i, &SessionRates::recordsDeleted); }, 6, 6, 6},
            {"COLUMN_PID", [](const Facts& f, std::uint32_t i) { return countValue(session(f, i).pid); }, 7, 7, 7,
             Side::kRight, Cut::kEnd, false},
            {"COLUMN_SITE",
             [](const Facts& f, std::uint32_t i) { return wordValue(f, Codes::kSite, session(f, i).site, "SITE_"); }, 6, 6,
             8, Side::kLeft, Cut::kEnd, false},
            {"COLUMN_CLIENT_ID",
             [](const Facts& f, std::uint32_t i) { return textValue(f.now().name(session(f, i).clientId)); }, 12, 12, 9,
             Side::kLeft, Cut::kMiddle, false},
            {"COLUMN_TASK", [](const Facts& f, std::uint32_t i) { return countValue(session(f, i).taskNumber); }, 5, 5, 10,
             Side::kRight, Cut::kEnd, false},
            {"COLUMN_CONNECTION", connectionNumberValue, 5, 5, 11, Side::kRight, Cut::kEnd, false},
        },
        4,
        [](const Facts& f, std::uint32_t) { return placesFrom(0, f.now().sessions.size()); },
        matchSessions,
    };
    return kSheet;
}

const Sheet& sessionHandlesSheet() {
    static const Sheet kSheet = {
        "SESSION_HANDLES",
        Section::kSessions,
        {
            {"COLUMN_FILE", [](const Facts& f, std::uint32_t i) { return textValue(f.now().name(handle(f, i).file)); }, 12,
             40, 0, Side::kLeft, Cut::kStart, false},
            {"COLUMN_WAITS_FOR", [](const Facts& f, std::uint32_t i) { return waitValue(f, handle(f, i).state.waitState); },
             6, 6, 1, Side::kLeft},
            {"COLUMN_LOCK", [](const Facts& f, std::uint32_t i) { return recordLockValue(f, handle(f, i).state); }, 6, 6, 1,
             Side::kLeft},
            {"COLUMN_TRANSACTION",
             [](const Facts& f, std::uint32_t i) { return transactionValue(f, handle(f, i).state.transactionState); }, 5, 5,
             1, Side::kLeft},
            {"COLUMN_MODE", [](const Facts& f, std::uint32_t i) { return openModeValue(f, handle(f, i).state); }, 8, 8, 2,
             Side::kLeft},
        },
        1,
        [](const Facts& f, std::uint32_t owner) {
            const HandleRange range = session(f, owner).handles;
            return placesFrom(range.first, range.count);
        },
        matchSessionHandles,
    };
    return kSheet;
}

const Sheet& connectionsSheet() {
    static const Sheet kSheet = {
        "CONNECTIONS",
        Section::kConnections,
        {
            {"COLUMN_USER", [](const Facts& f, std::uint32_t i) { return connectionText(f, i, &ConnectionItem::user); }, 8,
             14, 0, Side::kLeft, Cut::kMiddle, false},
            {"COLUMN_HOST", [](const Facts& f, std::uint32_t i) { return connectionText(f, i, &ConnectionItem::host); }, 8,
             14, 1, Side::kLeft, Cut::kEnd, false},
            {"COLUMN_ADDRESS",
             [](const Facts& f, std::uint32_t i) { return connectionText(f, i, &ConnectionItem::address); }, 15, 15, 3,
             Side::kLeft, Cut::kEnd, false},
            {"COLUMN_APPLICATION",
             [](const Facts& f, std::uint32_t i) { return connectionText(f, i, &ConnectionItem::application); }, 8, 16, 2,
             Side::kLeft, Cut::kMiddle, false},
            {"COLUMN_STATE",
             [](const Facts& f, std::uint32_t i) {
                 const std::uint16_t status = connection(f, i).status;
                 return wordValue(f, Codes::kConnectionStatus, status, "STATE_");
             },
             7, 7, 1, Side::kLeft, Cut::kEnd, false},
            {"COLUMN_PERIOD",
             [](const Facts& f, std::uint32_t i) {
                 return numberValue(Kind::kMillis, static_cast<double>(connection(f, i).periodMs));
             },
             7, 7, 1},
            {"COLUMN_DATA_SOURCE",
             [](const Facts& f, std::uint32_t i) { return connectionText(f, i, &ConnectionItem::dataSource); }, 8, 14, 5,
             Side::kLeft, Cut::kMiddle, false},
            {"COLUMN_TOTAL", [](const Facts& f, std::uint32_t i) { return countValue(connection(f, i).totalTime); }, 10, 10,
             5},
        },
        4,
        [](const Facts& f, std::uint32_t) { return placesFrom(0, f.now().connections.size()); },
        matchConnections,
    };
    return kSheet;
}

}  // namespace vexo
