// SPDX-License-Identifier: MIT
// The words for the states of handles.
#include <numeric>
#include <string>

#include "view/Sheet.h"

namespace vexo {

Items placesFrom(std::uint32_t first, std::size_t count) {
    Items items(count);
    std::iota(items.begin(), items.end(), first);
    return items;
}

Value handleCountValue(const Facts& facts, std::uint32_t count, Style style) {
    if (facts.now().scope == HandleScope::kNone) return {};
    Value value = countValue(count);
    if (count != 0) value.style = style;
    return value;
}

Value wordValue(const Facts& facts, Codes kind, std::int64_t code, const char* keyStart) {
    const std::string_view word = wordOf(kind, code);
    if (word.empty()) {
        Value value = textValue({});
        value.before = "?" + std::to_string(code);
        return value;
    }
    return textValue(facts.texts().ofWord(keyStart, word));
}

Value openModeValue(const Facts& facts, const HandleState& state) {
    return wordValue(facts, Codes::kOpenMode, state.openMode, "MODE_");
}

Value recordLockValue(const Facts& facts, const HandleState& state) {
    if (state.recordLock == kNoLock) return textValue({});
    return wordValue(facts, Codes::kRecordLock, state.recordLock, "LOCK_");
}

Value waitStateValue(const Facts& facts, const HandleState& state) {
    return waitValue(facts, state.waitState);
}

Value transactionStateValue(const Facts& facts, const HandleState& state) {
    return transactionValue(facts, state.transactionState);
}

Value waitValue(const Facts& facts, std::uint8_t waitState) {
    if (waitState == 0) return textValue({});
    Value value = wordValue(facts, Codes::kWaitState, waitState, "WAIT_");
    value.style = Style::kWait;
    return value;
}

Value transactionValue(const Facts& facts, std::int64_t transactionState) {
    if (static_cast<std::int16_t>(transactionState) == 0) return textValue({});
    return wordValue(facts, Codes::kTransactionState, transactionState, "TRANSACTION_");
}

}  // namespace vexo
