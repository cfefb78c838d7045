// SPDX-License-Identifier: MIT
// Reads one table of a scenario key by key, and says where a mistake is.
#ifndef XRSIM_SCENARIOTABLE_H
#define XRSIM_SCENARIOTABLE_H

#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <toml++/toml.h>
#include "TextField.h"

namespace xrsim {

// A mistake in a scenario. The text is `file:line:column: reason`.
class ScenarioMistake : public std::runtime_error {
public:
    ScenarioMistake(const std::string& file, const toml::source_position& where, const std::string& reason);
};

// Values that are absent stay as they are. Every reader throws ScenarioMistake for a wrong type or range; finish()
// throws it for a key that nobody asked for.
class ScenarioTable {
public:
    ScenarioTable(const toml::table& table, const std::string& file) : m_table(&table), m_file(&file) {}

    template <typename Number>
    bool number(std::string_view key, Number& value, std::int64_t least = std::numeric_limits<Number>::min(),
                std::int64_t most = std::numeric_limits<Number>::max()) {
        const std::optional<std::int64_t> read = integer(key, least, most);
        if (read) value = static_cast<Number>(*read);
        return read.has_value();
    }

    template <typename Number>
    void number(std::string_view key, std::optional<Number>& value) {
        Number read{};
        if (number(key, read)) value = read;
    }

    // A code of one byte: a number, or a letter for its character code.
    void code(std::string_view key, std::uint8_t& value);

    // Text for a field of `size` bytes, with room for its NUL unless the scenario says that there is none.
    std::optional<std::string> text(std::string_view key, std::size_t size);

    template <std::size_t Size>
    bool text(std::string_view key, char (&field)[Size]) {
        const std::optional<std::string> read = text(key, Size);
        if (read) putText(field, *read);
        return read.has_value();
    }

    bool flag(std::string_view key);

    std::optional<ScenarioTable> table(std::string_view key);
    std::vector<ScenarioTable> tables(std::string_view key);

    void finish() const;

    // Of the key's value, or of the table where the key is absent.
    [[noreturn]] void mistake(std::string_view key, const std::string& reason) const;

private:
    const toml::node* find(std::string_view key);
    std::optional<std::int64_t> integer(std::string_view key, std::int64_t least, std::int64_t most);
    std::string bytesOf(std::string_view key, ScenarioTable& notation, std::size_t size, bool nul);

    const toml::table* m_table;
    const std::string* m_file;
    std::vector<std::string_view> m_known;
};

}  // namespace xrsim

#endif
