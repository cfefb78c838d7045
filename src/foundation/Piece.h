// SPDX-License-Identifier: MIT
// A piece of an output line: a literal, a borrowed text or a number, composed into lines without allocating.
#ifndef VEXO_FOUNDATION_PIECE_H
#define VEXO_FOUNDATION_PIECE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "foundation/String.h"

namespace vexo {

class Piece {
public:
    // A literal; its length is known when the program is compiled.
    template <std::size_t N>
    Piece(const wchar_t (&literal)[N]) : m_data(literal), m_size(N - 1) {}
    // Borrowed text; it must outlive the piece.
    Piece(StringView text) : m_data(text.data()), m_size(text.size()) {}
    Piece(const String& text) : m_data(text.data()), m_size(text.size()) {}
    // A number in plain decimal, kept inside the piece.
    template <typename Number, std::enable_if_t<std::is_integral_v<Number> && !std::is_same_v<Number, wchar_t> &&
                                                    (sizeof(Number) > 1),  // no flags, no characters
                                                int> = 0>
    Piece(Number number) {
        const bool negative = number < 0;
        const auto magnitude = static_cast<std::uint64_t>(number);
        setDigits(negative ? 0 - magnitude : magnitude, negative);
    }

    // A copy would point into the digits of the original.
    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

    operator StringView() const { return {m_data, m_size}; }

private:
    void setDigits(std::uint64_t magnitude, bool negative) {
        std::size_t first = m_digits.size();
        do {
            m_digits[--first] = static_cast<wchar_t>(L'0' + static_cast<wchar_t>(magnitude % 10));
            magnitude /= 10;
        } while (magnitude != 0);
        if (negative) m_digits[--first] = L'-';
        m_data = m_digits.data() + first;
        m_size = m_digits.size() - first;
    }

    const wchar_t* m_data = nullptr;
    std::size_t m_size = 0;
    std::array<wchar_t, 21> m_digits;  // 20 digits of 2^64 - 1, or 19 and a sign; written only for a number
};

// `number` in plain decimal.
template <typename Number>
String decimal(Number number) {
    return String(StringView(Piece(number)));
}

// All pieces, one after the other, in one new text.
template <typename... Pieces>
String concat(const Pieces&... pieces) {
    String result;
    (result.append(StringView(Piece(pieces))), ...);
    return result;
}

}  // namespace vexo

#endif
