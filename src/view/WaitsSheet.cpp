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
    constexpr std::uint32_t kDeepest = 5;
    Value value = textValue(facts.now().name(wait(facts, item).client));
    const std::uint32_t depth = facts.waits()[item].depth;
    if (depth == 0) return value;
    value.before = std::string(2 * (std::min(depth, kDeepest) - 1U), ' ');
    value.before += depth > kDeepest ? std::to_string(depth) + " " : "`- ";
    return value;
}

Value holderValue(const Facts& facts, std::uint32_t item) {
    const WaitNode& node = facts.waits()[item];
    if (node.holder == kNowhere) return {};
    Value value = textValue(facts.now().name(facts.now().fileHandles[node.holder].client));
    if (!node.isCertain) value.before = facts.texts()["MAY_HOLD"] + " ";
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

}  // namespace

const Sheet& waitsSheet() {
    static const Sheet kSheet = {
        "WAITS",
        Section::kFiles,
        {
            {"COLUMN_WAITED", waitedValue, 8, 8, 0, Side::kLeft},
            {"COLUMN_WAITS_FOR", [](const Facts& f, std::uint32_t i) { return waitValue(f, wait(f, i).waitState); }, 6, 6, 2,
             Side::kLeft},
            {"COLUMN_FILE", [](const Facts& f, std::uint32_t i) { return textValue(f.now().name(wait(f, i).file)); }, 10, 26,
             1, Side::kLeft, Cut::kStart, false},
            {"COLUMN_WAITER", waiterValue, 10, 16, 0, Side::kLeft, Cut::kMiddle, false},
            {"COLUMN_HOLDER", holderValue, 12, 20, 0, Side::kLeft, Cut::kMiddle, false},
            {"COLUMN_BLOCKS", [](const Facts& f, std::uint32_t i) { return countValue(f.waits()[i].blocked); }, 6, 6, 5},
            {"COLUMN_SINCE",
             [](const Facts& f, std::uint32_t i) {
                 return numberValue(Value::Kind::kClock, static_cast<double>(wait(f, i).sinceMs));
             },
             8, 8, 5, Side::kLeft, Cut::kEnd, false},
            {"COLUMN_ADDRESS", [](const Facts& f, std::uint32_t i) { return addressValue(f, wait(f, i).client); }, 15, 15, 5,
             Side::kLeft, Cut::kEnd, false},
            {"COLUMN_HOLDER_ADDRESS",
             [](const Facts& f, std::uint32_t i) {
                 const std::uint32_t holder = f.waits()[i].holder;
                 return holder == kNowhere ? Value{} : addressValue(f, f.now().fileHandles[holder].client);
             },
             15, 15, 6, Side::kLeft, Cut::kEnd, false},
        },
        0,
        [](const Facts& f, std::uint32_t) { return placesFrom(0, f.now().waits.size()); },
        matchWaits,
        true,
    };
    return kSheet;
}

}  // namespace vexo
