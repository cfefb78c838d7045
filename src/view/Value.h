// SPDX-License-Identifier: MIT
// What stands in a cell of a table, and how it is written.
#ifndef VEXO_VIEW_VALUE_H
#define VEXO_VIEW_VALUE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "view/Picture.h"
#include "view/Text.h"

namespace vexo {

struct Value {
    enum class Kind : std::uint8_t {
        kUnknown,  // shown as "-"
        kText,
        kCount,
        kBytes,
        kRate,      // per second
        kByteRate,  // bytes a second
        kShare,     // 0 to 1
        kMillis,    // a duration
        kAtLeast,   // a duration in milliseconds, or longer
        kClock,     // an instant: UTC, milliseconds since 1970
        kBar,       // a share, with a mark at `peak`
    };

    Kind kind = Kind::kUnknown;
    Style style = Style::kPlain;
    double number = 0;
    double peak = 0;
    bool isOpen = false;         // a bar without an end
    std::string_view text = {};  // bytes, of the record or of the program's texts
    // Beside the text, never cut away and of no meaning for the order. Safe to print.
    std::string before = {};
    std::string behind = {};
};

inline Value textValue(std::string_view text) {
    Value value;
    value.kind = Value::Kind::kText;
    value.text = text;
    return value;
}

inline Value numberValue(Value::Kind kind, double number) {
    Value value;
    value.kind = kind;
    value.number = number;
    return value;
}

template <typename Number>
Value numberValue(Value::Kind kind, std::optional<Number> number) {
    return number ? numberValue(kind, static_cast<double>(*number)) : Value{};
}

inline Value countValue(std::uint64_t count) {
    return numberValue(Value::Kind::kCount, static_cast<double>(count));
}

// A value in at most so many columns.
std::string shown(const Value& value, int columns, Cut cut);

// The local time of the day, such as "14:03:20".
std::string shownClock(std::int64_t epochMs);
// Such as "2d07h", "12m", "40s", "0.2s".
std::string shownDuration(double millis);
// The same without a part of a second.
std::string shownWholeSeconds(double millis);

}  // namespace vexo

#endif
