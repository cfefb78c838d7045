// SPDX-License-Identifier: MIT
// Turns what the server says into what a record can hold: texts that are safe to print, numbers of 32 bits.
#ifndef VEXO_COMMON_TEXTS_H
#define VEXO_COMMON_TEXTS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace xr {

// `text` with "?" for every control character and every byte that is not UTF-8, and for the two characters that end
// or escape a JSON string: reports print these texts as they are, and clients choose some of them freely.
std::string cleanText(std::string_view text);

// The same for file names, which keep their backslashes, since reports escape those.
std::string cleanFileName(std::string_view name);

// The same for a line that is written for people, who may read quotes and backslashes.
std::string cleanLine(std::string_view text);

// The longest start of `text` that has at most `limit` bytes and ends with a whole character.
std::string_view cutUtf8(std::string_view text, std::size_t limit);

// Stores as much of `text` as fits together with its NUL and zeroes the rest of the field.
template <std::size_t Size>
void fill(char (&field)[Size], std::string_view text) {
    const std::string_view cut = cutUtf8(text, Size - 1);
    std::memset(field, 0, Size);
    std::memcpy(field, cut.data(), cut.size());
}

// Whether a text is digits and nothing else, at least one.
bool isDigits(std::string_view text);

// The whole number at the start of a decimal text such as "33177.950". No digit or a minus sign gives 0, and a
// number beyond 64 bits the largest.
std::uint64_t toNumber(std::string_view text);

// The server counts with 64 bits: these stop at the largest value of the record's field.
std::uint32_t saturate(std::uint64_t value);
std::int32_t saturateSigned(std::uint64_t value);

// Bytes in kilobytes of 1024, rounded up.
std::uint32_t kilobytes(std::uint64_t bytes);

}  // namespace xr

#endif
