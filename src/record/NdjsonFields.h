// SPDX-License-Identifier: MIT
// The fields of one line, read with their types and ranges.
#ifndef VEXO_RECORD_NDJSONFIELDS_H
#define VEXO_RECORD_NDJSONFIELDS_H

#include <simdjson.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "record/Codes.h"
#include "record/Record.h"

namespace vexo {

// The field `key` of a line is missing, or is not what it has to be.
struct FieldError {
    std::string key;
};

// Fields may come in any order; in the writer's own order each is found at once. Views into the line stay valid until
// the next line is parsed.
class Fields {
public:
    explicit Fields(simdjson::dom::object object);

    simdjson::dom::element get(std::string_view key);
    std::string_view word(std::string_view key);
    bool isNull(std::string_view key);
    simdjson::dom::object object(std::string_view key);
    simdjson::dom::array array(std::string_view key);

    template <typename Number>
    Number number(std::string_view key) {
        return toNumber<Number>(key, get(key));
    }
    // None for null.
    template <typename Number>
    std::optional<Number> optionalNumber(std::string_view key) {
        const simdjson::dom::element value = get(key);
        if (value.is_null()) return std::nullopt;
        return toNumber<Number>(key, value);
    }
    template <typename Number>
    static Number toNumber(std::string_view key, simdjson::dom::element value) {
        using Wide = std::conditional_t<std::is_signed_v<Number>, std::int64_t, std::uint64_t>;
        Wide wide = 0;
        const bool fits = value.get(wide) == simdjson::SUCCESS && wide <= std::numeric_limits<Number>::max() &&
                          wide >= std::numeric_limits<Number>::min();
        if (!fits) throw FieldError{std::string(key)};
        return static_cast<Number>(wide);
    }
    // A number with decimals, in thousandths.
    std::uint64_t thousandths(std::string_view key);
    // An instant and its field in milliseconds, which have to agree; none where both are null.
    std::optional<std::int64_t> optionalInstant(std::string_view key, std::string_view millisKey);
    std::int64_t instant(std::string_view key, std::string_view millisKey);

    // The bytes of a text, by its second field where it has one. Valid until the next text of the line is asked for.
    std::string_view text(std::string_view key);
    // The code of a word, or of the number beside it.
    template <typename Number>
    Number code(Codes kind, std::string_view key) {
        const std::int64_t found = anyCode(kind, key);
        const auto narrowed = static_cast<Number>(found);
        if (narrowed != found) throw FieldError{std::string(key)};
        return narrowed;
    }

private:
    std::optional<simdjson::dom::element> find(std::string_view key, std::string_view suffix = {});
    std::int64_t anyCode(Codes kind, std::string_view key);

    simdjson::dom::object m_object;
    simdjson::dom::object::iterator m_next;
    bool m_hasSecondFields = false;  // whether any key ends in _code or _hex
    std::string m_bytes;
};

}  // namespace vexo

#endif
