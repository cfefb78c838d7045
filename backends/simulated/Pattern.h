// SPDX-License-Identifier: MIT
// Names of generated items: a number between two fixed parts, so a name is written and found again without a table.
#ifndef XRSIM_PATTERN_H
#define XRSIM_PATTERN_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace xrsim {

class Pattern {
public:
    static constexpr std::size_t kDigits = 8;
    static constexpr std::uint32_t kLimit = 100'000'000;
    static constexpr std::string_view kPlace = "{n}";

    // `text` holds "{n}" once. Throws std::invalid_argument with the reason.
    explicit Pattern(std::string_view text);

    // Pads the first part until every name has `length` bytes. Throws std::invalid_argument when they are longer.
    void lengthen(std::size_t length);

    std::size_t length() const { return m_zero.size(); }

    // Writes the name without a NUL, cut to `size` bytes, and returns the number of bytes written.
    std::size_t write(char* to, std::size_t size, std::uint64_t number) const;

    std::optional<std::uint32_t> numberIn(std::string_view name) const;

private:
    std::string m_zero;  // the name of number 0
    std::size_t m_place = 0;
};

}  // namespace xrsim

#endif
