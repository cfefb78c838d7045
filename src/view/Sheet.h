// SPDX-License-Identifier: MIT
// The tables that views show: their columns, and what their rows are.
#ifndef VEXO_VIEW_SHEET_H
#define VEXO_VIEW_SHEET_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "record/Codes.h"
#include "view/Facts.h"
#include "view/Value.h"

namespace vexo {

enum class Side : std::uint8_t { kLeft, kRight };

// Rows are items of a record, by their places there.
using ColumnValue = Value (*)(const Facts& facts, std::uint32_t item);

struct Column {
    const char* heading = "";  // key of its text
    ColumnValue value = nullptr;
    int least = 0;  // columns of the screen without which it is not shown
    int most = 0;   // and up to which it grows with its texts before further ones appear; in the end to all they take
    int priority = 0;  // those of the smallest appear first
    Side side = Side::kRight;
    Cut cut = Cut::kEnd;
    bool sortsDown = true;  // at first
};

// Texts of any length, cut where they tell least.
constexpr Column nameColumn(const char* heading, int priority, int least, int most, Cut cut, ColumnValue value) {
    return {heading, value, least, most, priority, Side::kLeft, cut, false};
}
// Network addresses: those of the older protocol are short, and the newer ones are not always long.
constexpr Column addressColumn(const char* heading, int priority, ColumnValue value) {
    return nameColumn(heading, priority, 13, 39, Cut::kMiddle, value);
}
// Words of the program, and others that have to be whole.
constexpr Column growingColumn(const char* heading, int priority, int least, int most, ColumnValue value) {
    return {heading, value, least, most, priority, Side::kLeft, Cut::kEnd, true};
}
constexpr Column wordColumn(const char* heading, int priority, int width, ColumnValue value) {
    return growingColumn(heading, priority, width, width, value);
}
constexpr Column numberColumn(const char* heading, int priority, int width, ColumnValue value) {
    return {heading, value, width, width, priority, Side::kRight, Cut::kEnd, true};
}
// The least first.
constexpr Column upward(Column column) {
    column.sortsDown = false;
    return column;
}

template <std::size_t count>
std::vector<Column> columnsOf(const Column (&columns)[count]) {
    return {columns, columns + count};
}

using Items = std::vector<std::uint32_t>;

// The rows stand in the order of their places.
inline constexpr std::size_t kUnsorted = SIZE_MAX;

struct Sheet {
    const char* title;  // key of its text
    Section section;    // without which there is nothing to show
    std::vector<Column> columns;
    std::size_t firstSort;  // a column, or kUnsorted
    // The rows; of the handles of one file or session, which is `owner`.
    Items (*items)(const Facts& facts, std::uint32_t owner);
    // Which item is which of an earlier record; null where an item's place says so.
    Matches (*match)(const Record& before, const Record& now) = nullptr;
    bool isTree = false;  // rows stand below those that they wait for
};

const Sheet& filesSheet();
const Sheet& fileHandlesSheet();
const Sheet& waitsSheet();
const Sheet& sessionsSheet();
const Sheet& sessionHandlesSheet();
const Sheet& connectionsSheet();
const Sheet& usageSheet();
const Sheet& communicationsSheet();

// All places from `first` on.
Items placesFrom(std::uint32_t first, std::size_t count);

// What tables share. A count of handles is not known where none were asked for.
Value handleCountValue(const Facts& facts, std::uint32_t count, Style style = Style::kPlain);
Value openModeValue(const Facts& facts, const HandleState& state);
Value recordLockValue(const Facts& facts, const HandleState& state);
Value waitStateValue(const Facts& facts, const HandleState& state);
Value transactionStateValue(const Facts& facts, const HandleState& state);
// The same of what is no handle.
Value waitValue(const Facts& facts, std::uint8_t waitState);
Value transactionValue(const Facts& facts, std::int64_t transactionState);
// A text of the program's, or the number of a code that has none.
Value wordValue(const Facts& facts, Codes kind, std::int64_t code, const char* keyStart);

}  // namespace vexo

#endif
