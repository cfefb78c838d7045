// SPDX-License-Identifier: MIT
#include "record/NdjsonFields.h"

#include <cmath>

#include "record/JsonText.h"
#include "record/Timestamp.h"

namespace vexo {
namespace {

constexpr std::string_view kCodeSuffix = "_code";
constexpr std::string_view kHexSuffix = "_hex";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Whether `key` is `start` followed by `end`.
bool isJoined(std::string_view key, std::string_view start, std::string_view end) {
    return key.size() == start.size() + end.size() && key.substr(0, start.size()) == start && endsWith(key, end);
}

}  // namespace

Fields::Fields(simdjson::dom::object object) : m_object(object), m_next(object.begin()) {
    for (const auto field : object)
        m_hasSecondFields = m_hasSecondFields || endsWith(field.key, kCodeSuffix) || endsWith(field.key, kHexSuffix);
}

std::optional<simdjson::dom::element> Fields::find(std::string_view key, std::string_view suffix) {
    if (m_next != m_object.end() && isJoined(m_next.key(), key, suffix)) {
        const simdjson::dom::element value = m_next.value();
        ++m_next;
        return value;
    }
    for (auto field = m_object.begin(); field != m_object.end(); ++field) {
        if (!isJoined(field.key(), key, suffix)) continue;
        m_next = field;
        ++m_next;
        return field.value();
    }
    return std::nullopt;
}

simdjson::dom::element Fields::get(std::string_view key) {
    const auto value = find(key);
    if (!value) throw FieldError{std::string(key)};
    return *value;
}

// Looks only: the field is still the next.
bool Fields::isNull(std::string_view key) {
    const auto place = m_next;
    const bool isNull = get(key).is_null();
    m_next = place;
    return isNull;
}

std::string_view Fields::word(std::string_view key) {
    std::string_view value;
    if (get(key).get(value) != simdjson::SUCCESS) throw FieldError{std::string(key)};
    return value;
}

simdjson::dom::object Fields::object(std::string_view key) {
    simdjson::dom::object value;
    if (get(key).get(value) != simdjson::SUCCESS) throw FieldError{std::string(key)};
    return value;
}

simdjson::dom::array Fields::array(std::string_view key) {
    simdjson::dom::array value;
    if (get(key).get(value) != simdjson::SUCCESS) throw FieldError{std::string(key)};
    return value;
}

std::uint64_t Fields::thousandths(std::string_view key) {
    constexpr double kMost = 1e12;  // thousandths up to here are exact
    double value = 0;
    if (get(key).get(value) != simdjson::SUCCESS || value < 0 || value > kMost) throw FieldError{std::string(key)};
    return static_cast<std::uint64_t>(std::llround(value * 1000));
}

std::optional<std::int64_t> Fields::optionalInstant(std::string_view key, std::string_view millisKey) {
    const simdjson::dom::element text = get(key);
    const auto millis = optionalNumber<std::int64_t>(millisKey);
    if (text.is_null() != !millis) throw FieldError{std::string(key)};
    if (!millis) return std::nullopt;
    std::string_view written;
    const bool agree = text.get(written) == simdjson::SUCCESS && *millis >= kFirstEpochMs && *millis <= kLastEpochMs &&
                       written == timestamp(*millis);
    if (!agree) throw FieldError{std::string(key)};
    return millis;
}

std::int64_t Fields::instant(std::string_view key, std::string_view millisKey) {
    const auto found = optionalInstant(key, millisKey);
    if (!found) throw FieldError{std::string(key)};
    return *found;
}

std::string_view Fields::text(std::string_view key) {
    const std::string_view shown = word(key);
    if (!m_hasSecondFields) return shown;
    const auto digits = find(key, kHexSuffix);
    if (!digits) return shown;
    std::string_view hex;
    const auto bytes = digits->get(hex) == simdjson::SUCCESS ? bytesOfHex(hex) : std::nullopt;
    // A text that is UTF-8 has no second field; another one shows what is left of the bytes.
    if (!bytes || isUtf8(*bytes) || replacedText(*bytes) != shown) throw FieldError{std::string(key)};
    m_bytes = *bytes;
    return m_bytes;
}

std::int64_t Fields::anyCode(Codes kind, std::string_view key) {
    const simdjson::dom::element value = get(key);
    const auto number = m_hasSecondFields ? find(key, kCodeSuffix) : std::nullopt;
    std::string_view word;
    bool flag = false;
    if (kind == Codes::kFlag && value.get(flag) == simdjson::SUCCESS) {
        word = flag ? "true" : "false";
    } else if (kind == Codes::kFlag ? !value.is_null() : !value.is_null() && value.get(word) != simdjson::SUCCESS) {
        throw FieldError{std::string(key)};
    }
    if (number) {
        const auto code = toNumber<std::int64_t>(key, *number);
        if (wordOf(kind, code) != word) throw FieldError{std::string(key)};
        return code;
    }
    const auto code = codeOf(kind, word);
    if (!code) throw FieldError{std::string(key)};
    return *code;
}

}  // namespace vexo
