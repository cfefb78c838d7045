// SPDX-License-Identifier: MIT
#include "foundation/Encoding.h"

#include <langinfo.h>

#include <algorithm>
#include <array>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "Utf8.h"

namespace vexo {
namespace {

constexpr wchar_t kByteBase = 0xDC00;  // U+DC00 + byte stands for a byte that is not part of a character
constexpr wchar_t kFirstSurrogate = 0xD800;
constexpr wchar_t kLastSurrogate = 0xDFFF;
constexpr wchar_t kLastCharacter = 0x10FFFF;
constexpr std::size_t kBlock = 16;  // characters checked and copied at once

bool isRawByte(wchar_t c) {
    return c > kByteBase && c <= kByteBase + 0xFF;
}

// Copies a block of characters; gives whether all of them are ASCII; otherwise the copy is worthless.
bool copyAscii(char* out, const wchar_t* from) {
    std::array<char, kBlock> block;  // apart from `out`, which for all the compiler knows, overlaps `from`
    unsigned int seen = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        seen |= static_cast<unsigned int>(from[i]);
        block[i] = static_cast<char>(from[i]);
    }
    std::memcpy(out, block.data(), kBlock);
    return seen < 0x80;
}

using Encoded = std::array<char, std::size_t{2} * MB_LEN_MAX>;

// Encodes one character by itself. Gives the number of bytes; 0 when the encoding has none for it.
std::size_t encode(Encoded& bytes, wchar_t c) {
    constexpr auto kFailed = static_cast<std::size_t>(-1);
    std::mbstate_t state{};
    std::size_t size = std::wcrtomb(bytes.data(), c, &state);
    if (size != kFailed && std::mbsinit(&state) == 0) {
        // Some encodings hold a letter back, in case an accent follows. A NUL ends the text and brings it out.
        const std::size_t more = std::wcrtomb(bytes.data() + size, L'\0', &state);
        size = more == kFailed ? kFailed : size + more - 1;
    }
    // In CP1255 a letter with an accent takes more bytes than the locale announces, and than narrow() has room for.
    return size <= MB_CUR_MAX ? size : 0;
}

// The bytes of one character outside ASCII. Not inlined: setting up its buffer would cost every line of plain ASCII.
[[gnu::noinline]] char* narrowOne(char* out, wchar_t c) {
    if (isRawByte(c)) {
        *out = static_cast<char>(c - kByteBase);
        return out + 1;
    }
    Encoded bytes;
    const std::size_t size = encode(bytes, c);
    if (size == 0) {
        *out = '?';
        return out + 1;
    }
    return std::copy_n(bytes.data(), size, out);
}

// Decodes the first character of `bytes`, which is outside ASCII. Gives the number of its bytes; 0 unless it encodes
// back to exactly these. Encodings that combine letters with accents, or have two codes for one character, would change
// bytes or swallow them.
std::size_t decode(std::string_view bytes, wchar_t& c) {
    std::mbstate_t state{};
    const std::size_t size = std::mbrtowc(&c, bytes.data(), bytes.size(), &state);
    if (size == 0 || size > bytes.size()) return 0;
    // The C library decodes numbers behind the last character too.
    if (c < 0x80 || (c >= kFirstSurrogate && c <= kLastSurrogate) || c > kLastCharacter) return 0;
    Encoded again;
    return encode(again, c) == size && std::equal(again.begin(), again.begin() + size, bytes.begin()) ? size : 0;
}

}  // namespace

void useEnvironmentEncoding() {
    const char* locale = std::setlocale(LC_CTYPE, "");
    if (!locale || std::strcmp(nl_langinfo(CODESET), "ANSI_X3.4-1968") == 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

String widen(std::string_view bytes) {
    String result;
    appendWide(result, bytes);
    return result;
}

void appendWide(String& out, std::string_view bytes) {
    const std::size_t start = out.size();
    out.resize(start + bytes.size());  // no character takes less than a byte
    wchar_t* next = out.data() + start;
    const char* from = bytes.data();
    const char* const end = from + bytes.size();
    while (from != end) {
        const auto byte = static_cast<unsigned char>(*from);
        if (byte < 0x80) {
            *next++ = static_cast<wchar_t>(byte);
            ++from;
            continue;
        }
        const std::size_t size = decode({from, static_cast<std::size_t>(end - from)}, *next);
        if (size == 0) *next = static_cast<wchar_t>(kByteBase + byte);
        from += std::max<std::size_t>(size, 1);
        ++next;
    }
    out.resize(static_cast<std::size_t>(next - out.data()));
}

String widenUtf8(std::string_view bytes) {
    String result;
    while (!bytes.empty()) {
        const utf8::Character character = utf8::firstCharacter(bytes);
        const auto byte = static_cast<unsigned char>(bytes.front());
        result += character.size != 0 ? static_cast<wchar_t>(character.code) : static_cast<wchar_t>(kByteBase + byte);
        bytes.remove_prefix(std::max<std::size_t>(character.size, 1));
    }
    return result;
}

std::string narrowUtf8(StringView text) {
    std::string result;
    for (const wchar_t c : text) {
        if (isRawByte(c)) {
            result += static_cast<char>(c - kByteBase);
        } else {
            utf8::append(result, static_cast<char32_t>(c));
        }
    }
    return result;
}

bool isEncodable(wchar_t c) {
    Encoded bytes;
    return encode(bytes, c) != 0;
}

std::size_t maxNarrowSize(std::size_t characters) {
    return characters * MB_CUR_MAX;
}

char* narrowInto(char* out, StringView text) {
    const std::size_t size = text.size();
    std::size_t done = 0;
    // Most lines are ASCII: whole blocks, of which the last may overlap the one before it.
    while (size >= kBlock) {
        const std::size_t at = std::min(done, size - kBlock);
        if (!copyAscii(out + at, text.data() + at)) break;
        done = at + kBlock;
        if (done == size) return out + size;
    }
    out += done;
    for (const wchar_t c : text.substr(done)) {
        if (static_cast<unsigned int>(c) < 0x80) {
            *out++ = static_cast<char>(c);
        } else {
            out = narrowOne(out, c);
        }
    }
    return out;
}

std::string narrow(StringView text) {
    std::string result(maxNarrowSize(text.size()), '\0');
    result.resize(static_cast<std::size_t>(narrowInto(result.data(), text) - result.data()));
    return result;
}

std::string narrowUpTo(StringView text, std::size_t limit) {
    std::string result = narrow(text);
    if (result.size() <= limit) return result;
    result.clear();
    char bytes[MB_LEN_MAX];
    for (const wchar_t c : text) {
        const auto size = static_cast<std::size_t>(narrowInto(bytes, StringView(&c, 1)) - bytes);
        if (result.size() + size > limit) break;
        result.append(bytes, size);
    }
    return result;
}

}  // namespace vexo
