// SPDX-License-Identifier: MIT
// The files, and the handles of one.
#include "view/Sheet.h"

namespace vexo {
namespace {

const FileItem& file(const Facts& facts, std::uint32_t item) {
    return facts.now().files[item];
}

Value nameValue(const Facts& facts, std::uint32_t item) {
    return textValue(facts.now().name(file(facts, item).name));
}

Value sizeValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Value::Kind::kBytes, static_cast<double>(file(facts, item).sizeBytes));
}

Value pageSizeValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Value::Kind::kBytes, static_cast<double>(file(facts, item).pageSizeBytes));
}

Value growthValue(const Facts& facts, std::uint32_t item) {
    return numberValue(Value::Kind::kByteRate, facts.growthOf(item));
}

template <std::uint32_t HandleCounts::*count>
Value countValueOf(const Facts& facts, std::uint32_t item) {
    constexpr Style kStyle = count == &HandleCounts::waiting ? Style::kWait : Style::kPlain;
    return handleCountValue(facts, file(facts, item).counts.*count, kStyle);
}

Value flagsValue(const Facts& facts, std::uint32_t item) {
    const FileItem& it = file(facts, item);
    Value value = textValue({});
    const auto add = [&](std::uint8_t code, const char* key) {
        if (code != kFlagSet) return;
        if (!value.before.empty()) value.before += ' ';
        value.before += facts.texts()[key];
    };
    add(it.readOnly, "FLAG_READ_ONLY");
    add(it.readLocks, "FLAG_LOCKS");
    add(it.transactionLock, "FLAG_TRANSACTION");
    // Orders by what is rare.
    value.number = (it.transactionLock == kFlagSet ? 4 : 0) + (it.readOnly == kFlagSet ? 2 : 0) +
                   (it.readLocks == kFlagSet ? 1 : 0);
    return value;
}

const FileHandleItem& handle(const Facts& facts, std::uint32_t item) {
    return facts.now().fileHandles[item];
}

Value clientValue(const Facts& facts, std::uint32_t item) {
    return textValue(facts.now().name(handle(facts, item).client));
}

Value clientIndexValue(const Facts& facts, std::uint32_t item) {
    return countValue(handle(facts, item).clientIndex);
}

// Of the session whose name is that of the handle's client.
template <auto member>
Value ofSession(const Facts& facts, std::uint32_t item) {
    const std::uint32_t place = facts.sessionNamed(handle(facts, item).client);
    if (place == kNowhere) return {};
    if (place == kAmbiguous) return textValue("?");
    const SessionItem& session = facts.now().sessions[place];
    if constexpr (member == &SessionItem::address) return textValue(facts.now().name(session.address));
    return countValue(session.*member);
}

template <Value (*word)(const Facts&, const HandleState&)>
Value stateValue(const Facts& facts, std::uint32_t item) {
    return word(facts, handle(facts, item).state);
}

constexpr Column kFilesColumns[] = {
    nameColumn("COLUMN_FILE", 0, 12, 60, Cut::kStart, nameValue),
    numberColumn("COLUMN_SIZE", 1, 5, sizeValue),
    numberColumn("COLUMN_GROWTH", 4, 6, growthValue),
    numberColumn("COLUMN_HANDLES", 1, 7, countValueOf<&HandleCounts::all>),
    numberColumn("COLUMN_LOCKING", 2, 4, countValueOf<&HandleCounts::locking>),
    numberColumn("COLUMN_WAITING", 1, 4, countValueOf<&HandleCounts::waiting>),
    wordColumn("COLUMN_FLAGS", 4, 8, flagsValue),
    numberColumn("COLUMN_PAGE", 6, 5, pageSizeValue),
};

constexpr Column kFileHandlesColumns[] = {
    nameColumn("COLUMN_CLIENT", 0, 12, 48, Cut::kMiddle, clientValue),
    upward(numberColumn("COLUMN_INDEX", 3, 6, clientIndexValue)),
    wordColumn("COLUMN_WAITS_FOR", 1, 6, stateValue<waitStateValue>),
    wordColumn("COLUMN_LOCK", 1, 6, stateValue<recordLockValue>),
    wordColumn("COLUMN_TRANSACTION", 1, 6, stateValue<transactionStateValue>),
    wordColumn("COLUMN_MODE", 2, 8, stateValue<openModeValue>),
    addressColumn("COLUMN_ADDRESS", 4, ofSession<&SessionItem::address>),
    upward(numberColumn("COLUMN_PID", 5, 7, ofSession<&SessionItem::pid>)),
    numberColumn("COLUMN_LOCKS", 6, 6, ofSession<&SessionItem::locksUsed>),
};

Items rowsOfFiles(const Facts& facts, std::uint32_t /*owner*/) {
    return placesFrom(0, facts.now().files.size());
}

Items rowsOfFileHandles(const Facts& facts, std::uint32_t owner) {
    const HandleRange range = file(facts, owner).handles;
    return placesFrom(range.first, range.count);
}

}  // namespace

const Sheet& filesSheet() {
    static const Sheet kSheet = {"FILES", Section::kFiles, columnsOf(kFilesColumns), 3, rowsOfFiles, matchFiles};
    return kSheet;
}

const Sheet& fileHandlesSheet() {
    static const Sheet kSheet = {"FILE_HANDLES",    Section::kFiles, columnsOf(kFileHandlesColumns), 2,
                                 rowsOfFileHandles, matchFileHandles};
    return kSheet;
}

}  // namespace vexo
