// SPDX-License-Identifier: MIT
#include "ScenarioTable.h"

#include <algorithm>

namespace xrsim {
namespace {

// The bytes of "c3 28 ff": pairs of hexadecimal digits, with any blanks between them.
std::optional<std::string> bytesFromHex(std::string_view hex) {
    std::string digits;
    std::copy_if(hex.begin(), hex.end(), std::back_inserter(digits), [](char c) { return c != ' ' && c != '\n'; });
    if (digits.size() % 2 != 0) return std::nullopt;
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const std::size_t high = kDigits.find(static_cast<char>(digits[i] | 0x20));
        const std::size_t low = kDigits.find(static_cast<char>(digits[i + 1] | 0x20));
        if (high == std::string_view::npos || low == std::string_view::npos) return std::nullopt;
        bytes.push_back(static_cast<char>(high * 16 + low));
    }
    return bytes;
}

}  // namespace

ScenarioMistake::ScenarioMistake(const std::string& file, const toml::source_position& where, const std::string& reason)
    : std::runtime_error(file + ":" + std::to_string(where.line) + ":" + std::to_string(where.column) + ": " + reason) {
}

const toml::node* ScenarioTable::find(std::string_view key) {
    m_known.push_back(key);
    return m_table->get(key);
}

void ScenarioTable::mistake(std::string_view key, const std::string& reason) const {
    const toml::node* node = m_table->get(key);
    if (!node) throw ScenarioMistake(*m_file, m_table->source().begin, reason);
    throw ScenarioMistake(*m_file, node->source().begin, std::string(key) + ": " + reason);
}

std::optional<std::int64_t> ScenarioTable::integer(std::string_view key, std::int64_t least, std::int64_t most) {
    const toml::node* node = find(key);
    if (!node) return std::nullopt;
    if (!node->is_integer()) mistake(key, "a whole number is needed");
    const std::int64_t value = node->as_integer()->get();
    if (value < least || value > most) {
        mistake(key, "out of range " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value;
}

void ScenarioTable::code(std::string_view key, std::uint8_t& value) {
    const toml::node* node = m_table->get(key);
    if (!node || !node->is_string()) {
        number(key, value);
        return;
    }
    m_known.push_back(key);
    const std::string& letter = node->as_string()->get();
    if (letter.size() != 1) mistake(key, "a number or one letter is needed");
    value = static_cast<std::uint8_t>(letter[0]);
}

bool ScenarioTable::flag(std::string_view key) {
    const toml::node* node = find(key);
    if (!node) return false;
    if (!node->is_boolean()) mistake(key, "true or false is needed");
    return node->as_boolean()->get();
}

std::optional<std::string> ScenarioTable::text(std::string_view key, std::size_t size) {
    const toml::node* node = find(key);
    if (!node) return std::nullopt;
    if (node->is_string()) {
        const std::string& value = node->as_string()->get();
        if (value.size() >= size) mistake(key, "longer than " + std::to_string(size - 1) + " bytes");
        return value;
    }
    if (!node->is_table()) mistake(key, "text, { hex = ... } or { fill = ... } is needed");
    ScenarioTable notation(*node->as_table(), *m_file);
    const bool nul = !notation.find("nul") || notation.flag("nul");
    std::string bytes = bytesOf(key, notation, size, nul);
    notation.finish();
    if (nul && bytes.size() >= size) mistake(key, "longer than " + std::to_string(size - 1) + " bytes");
    if (!nul && bytes.size() != size) mistake(key, "without a NUL, exactly " + std::to_string(size) + " bytes");
    return bytes;
}

std::string ScenarioTable::bytesOf(std::string_view key, ScenarioTable& notation, std::size_t size, bool nul) {
    if (const toml::node* hex = notation.find("hex")) {
        const std::optional<std::string> bytes = bytesFromHex(hex->value_or(std::string("?")));
        if (!bytes) notation.mistake("hex", "pairs of hexadecimal digits are needed");
        return *bytes;
    }
    const std::optional<std::string> unit = notation.text("fill", size);
    if (!unit || unit->empty()) mistake(key, "hex, or a fill that is not empty, is needed");
    std::size_t length = nul ? size - 1 : size;
    notation.number("length", length, 0, static_cast<std::int64_t>(size));
    std::string bytes;
    while (bytes.size() < length)
        bytes += *unit;
    bytes.resize(length);
    return bytes;
}

std::optional<ScenarioTable> ScenarioTable::table(std::string_view key) {
    const toml::node* node = find(key);
    if (!node) return std::nullopt;
    if (!node->is_table()) mistake(key, "a table is needed, written [" + std::string(key) + "]");
    return ScenarioTable(*node->as_table(), *m_file);
}

std::vector<ScenarioTable> ScenarioTable::tables(std::string_view key) {
    const toml::node* node = find(key);
    if (!node) return {};
    if (!node->is_array()) mistake(key, "a list of tables is needed, each written [[" + std::string(key) + "]]");
    std::vector<ScenarioTable> tables;
    for (const toml::node& entry : *node->as_array()) {
        if (!entry.is_table()) throw ScenarioMistake(*m_file, entry.source().begin, "a table is needed");
        tables.emplace_back(*entry.as_table(), *m_file);
    }
    return tables;
}

void ScenarioTable::finish() const {
    const toml::key* first = nullptr;
    for (const auto& [key, value] : *m_table) {
        if (std::find(m_known.begin(), m_known.end(), key.str()) != m_known.end()) continue;
        if (!first || key.source().begin < first->source().begin) first = &key;
    }
    if (!first) return;
    throw ScenarioMistake(*m_file, first->source().begin, "unknown key \"" + std::string(first->str()) + "\"");
}

}  // namespace xrsim
