// SPDX-License-Identifier: MIT
// The files, and the handles of one.
#include "view/Sheet.h"

namespace vexo {
namespace {

const FileItem& file(const Facts& facts, std::uint32_t item) {
    return facts.now().files[item];
}

Value countOf(const Facts& facts, std::uint32_t count, Style style = Style::kPlain) {
    if (facts.now().scope == HandleScope::kNone) return {};
    Value value = countValue(count);
    if (count != 0) value.style = style;
    return value;
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

// Of the session whose name is that of the handle's client.
template <typename Of>
Value ofSession(const Facts& facts, std::uint32_t item, Of of) {
    const std::uint32_t session = facts.sessionNamed(handle(facts, item).client);
    if (session == kNowhere) return {};
    if (session == kAmbiguous) return textValue("?");
    return of(facts.now().sessions[session]);
}

}  // namespace

const Sheet& filesSheet() {
    using Kind = Value::Kind;
    static const Sheet kSheet = {
        "FILES",
        Section::kFiles,
        {
                  {"COLUMN_FILE", [](const Facts& f, std::uint32_t i) { return textValue(f.now().name(file(f, i).name)); },
             12, 34, 0, Side::kLeft, Cut::kStart, false},
                  {"COLUMN_SIZE",
             [](const Facts& f, std::uint32_t i) {
                 return numberValue(Kind::kBytes, static_cast<double>(file(f, i).sizeBytes));
             },
             5, 5, 1},
                  {"COLUMN_GROWTH",
             [](const Facts& f, std::uint32_t i) { return numberValue(Kind::kByteRate, f.growthOf(i)); }, 6, 6, 4},
                  {"COLUMN_HANDLES", [](const Facts& f, std::uint32_t i) { return countOf(f, file(f, i).counts.all); }, 7, 7,
             1},
                  {"COLUMN_LOCKING", [](const Facts& f, std::uint32_t i) { return countOf(f, file(f, i).counts.locking); }, 5,
             5, 2},
                  {"COLUMN_WAITING",
             [](const Facts& f, std::uint32_t i) { return countOf(f, file(f, i).counts.waiting, Style::kWait); }, 5, 5,
             1},
                  {"COLUMN_FLAGS", flagsValue, 8, 8, 4, Side::kLeft},
                  {"COLUMN_PAGE",
             [](const Facts& f, std::uint32_t i) {
                 return numberValue(Kind::kBytes, static_cast<double>(file(f, i).pageSizeBytes));
             },
             5, 5, 6},
                  },
        3,
        [](const Facts& f, std::uint32_t) { return placesFrom(0, f.now().files.size());},
        matchFiles,
    };
    return kSheet;
}

const Sheet& fileHandlesSheet() {
    static const Sheet kSheet = {
        "FILE_HANDLES",
        Section::kFiles,
        {
                  {"COLUMN_CLIENT",
             [](const Facts& f, std::uint32_t i) { return textValue(f.now().name(handle(f, i).client)); }, 12, 26, 0,
             Side::kLeft, Cut::kMiddle, false},
                  {"COLUMN_INDEX", [](const Facts& f, std::uint32_t i) { return countValue(handle(f, i).clientIndex); }, 6, 6,
             3, Side::kRight, Cut::kEnd, false},
                  {"COLUMN_WAITS_FOR",
             [](const Facts& f, std::uint32_t i) { return waitValue(f, handle(f, i).state.waitState); }, 6, 6, 1,
             Side::kLeft},
                  {"COLUMN_LOCK", [](const Facts& f, std::uint32_t i) { return recordLockValue(f, handle(f, i).state); }, 6,
             6, 1, Side::kLeft},
                  {"COLUMN_TRANSACTION",
             [](const Facts& f, std::uint32_t i) { return transactionValue(f, handle(f, i).state.transactionState); },
             5, 5, 1, Side::kLeft},
                  {"COLUMN_MODE", [](const Facts& f, std::uint32_t i) { return openModeValue(f, handle(f, i).state); }, 8, 8,
             2, Side::kLeft},
                  {"COLUMN_ADDRESS",
             [](const Facts& f, std::uint32_t i) {
                 return ofSession(f, i, [&](const SessionItem& s) { return textValue(f.now().name(s.address)); });
             },
             15, 15, 4, Side::kLeft, Cut::kEnd, false},
                  {"COLUMN_PID",
             [](const Facts& f, std::uint32_t i) {
                 return ofSession(f, i, [](const SessionItem& s) { return countValue(s.pid); });
             },
             7, 7, 5, Side::kRight, Cut::kEnd, false},
                  {"COLUMN_LOCKS",
             [](const Facts& f, std::uint32_t i) {
                 return ofSession(f, i, [](const SessionItem& s) { return countValue(s.locksUsed); });
             },
             6, 6, 6},
                  },
        2,
        [](const Facts& f, std::uint32_t owner) {
            const HandleRange range = file(f, owner).handles;
            return placesFrom(range.first, range.count);
                  },
        matchFileHandles,
    };
    return kSheet;
}

}  // namespace vexo
