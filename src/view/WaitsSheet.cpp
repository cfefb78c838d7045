// SPDX-License-Identifier: MIT
// Who waits for what.
#include <algorithm>

#include "view/Sheet.h"

namespace vexo {
namespace {

const WaitItem& wait(const Facts& facts, std::uint32_t item) {
    return facts.now().waits[item];
}

Value waitedValue(const Facts& facts, std::uint32_t item) {
    Value value = numberValue(Value::Kind::kAtLeast, static_cast<double>(wait(facts, item).waitedMs));
    value.style = Style::kWait;
    return value;
}

// Those who wait for a waiter stand below it, further to the right.
Value waiterValue(const Facts& facts, std::uint32_t item) {
    constexpr std::size_t kDeepest = 5;
    Value value = textValue(facts.now().name(wait(facts, item).client));
    const std::size_t depth = facts.waits()[item].depth;
    if (depth == 0) return value;
    value.before = std::string(2 * (std::min(depth, kDeepest) - 1), ' ');
    value.before += depth > kDeepest ? std::to_string(depth) + " " : "`- ";
    return value;
}

Value holderValue(const Facts& facts, std::uint32_t item) {
    const WaitNode& node = facts.waits()[item];
    if (node.holder == kNowhere) return {};
    Value value = textValue(facts.now().name(facts.now().fileHandles[node.holder].client));
    if (node.isCertain) value.before = facts.texts()["HOLDS"] + " ";
    if (!node.isCertain && node.candidates > 1) value.behind = " +" + std::to_string(node.candidates - 1);
    if (node.closesCycle) value.behind += " " + facts.texts()["CYCLE"];
    return value;
}

Value addressValue(const Facts& facts, NameId client) {
    const std::uint32_t session = facts.sessionNamed(client);
    if (session == kNowhere) return {};
    if (session == kAmbiguous) return textValue("?");
    return textValue(facts.now().name(facts.now().sessions[session].address));
}

Value fileValue(const Facts& facts, std::uint32_t item) {
    return textValue(facts.now().name(wait(facts, item).file));
}

Value waitsForValue(const Facts& facts, std::uint32_t item) {
    return waitValue(facts, wait(facts, item).waitState);
}

Value blockedValue(const Facts& facts, std::uint32_t item) {
    return countValue(facts.waits()[item].blocked);
}

Value sinceValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Value::Kind::kClock, static_cast<double>(wait(facts, item).sinceMs));
}

Value waiterAddressValue(const Facts& facts, std::uint32_t item) {
    return addressValue(facts, wait(facts, item).client);
}

Value holderAddressValue(const Facts& facts, std::uint32_t item) {
    const std::uint32_t holder = facts.waits()[item].holder;
    return holder == kNowhere ? Value{} : addressValue(facts, facts.now().fileHandles[holder].client);
}

constexpr Column kWaitsColumns[] = {
    growingColumn("COLUMN_WAITED", 0, 5, 8, waitedValue),
    wordColumn("COLUMN_WAITS_FOR", 2, 6, waitsForValue),
    nameColumn("COLUMN_FILE", 1, 10, 50, Cut::kStart, fileValue),
    nameColumn("COLUMN_WAITER", 0, 10, 36, Cut::kMiddle, waiterValue),
    nameColumn("COLUMN_HOLDER", 0, 12, 42, Cut::kMiddle, holderValue),
    numberColumn("COLUMN_BLOCKS", 5, 6, blockedValue),
    upward(wordColumn("COLUMN_SINCE", 5, 8, sinceValue)),
    addressColumn("COLUMN_ADDRESS", 6, waiterAddressValue),
    addressColumn("COLUMN_HOLDER_ADDRESS", 7, holderAddressValue),
};

Items rowsOfWaits(const Facts& facts, std::uint32_t /*owner*/) {
    return placesFrom(0, facts.now().waits.size());
}

}  // namespace

const Sheet& waitsSheet() {
    static const Sheet kSheet = {"WAITS", Section::kFiles, columnsOf(kWaitsColumns), 0, rowsOfWaits, matchWaits, true};
    return kSheet;
}

}  // namespace vexo
