// SPDX-License-Identifier: MIT
#include "Pattern.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace xrsim {

Pattern::Pattern(std::string_view text) : m_zero(text), m_place(text.find(kPlace)) {
    if (m_place == std::string::npos || text.find(kPlace, m_place + 1) != std::string_view::npos) {
        throw std::invalid_argument("a pattern holds \"{n}\" once");
    }
    m_zero.replace(m_place, kPlace.size(), kDigits, '0');
}

void Pattern::lengthen(std::size_t length) {
    if (length < m_zero.size()) throw std::invalid_argument("the pattern is longer than the names should be");
    const std::size_t missing = length - m_zero.size();
    m_zero.insert(m_place, missing, '0');
    m_place += missing;
}

std::size_t Pattern::write(char* to, std::size_t size, std::uint64_t number) const {
    const std::size_t length = std::min(size, m_zero.size());
    std::memcpy(to, m_zero.data(), length);
    for (std::size_t digit = m_place + kDigits; digit > m_place && number != 0; number /= 10) {
        if (--digit < length) to[digit] = static_cast<char>('0' + number % 10);
    }
    return length;
}

std::optional<std::uint32_t> Pattern::numberIn(std::string_view name) const {
    const std::size_t after = m_place + kDigits;
    if (name.size() != m_zero.size()) return std::nullopt;
    if (std::memcmp(name.data(), m_zero.data(), m_place) != 0) return std::nullopt;
    if (std::memcmp(name.data() + after, m_zero.data() + after, name.size() - after) != 0) return std::nullopt;
    std::uint32_t number = 0;
    for (const char c : name.substr(m_place, kDigits)) {
        if (c < '0' || c > '9') return std::nullopt;
        number = number * 10 + static_cast<std::uint32_t>(c - '0');
    }
    return number;
}

}  // namespace xrsim
