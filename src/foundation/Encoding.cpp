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

namespace vexo {
namespace {

constexpr wchar_t kByteBase = 0xDC00;  // U+DC00 + byte stands for a byte that is no text
constexpr wchar_t kFirstSurrogate = 0xD800;
constexpr wchar_t kLastSurrogate = 0xDFFF;
constexpr std::size_t kBlock = 16;  // characters checked and copied at once

bool isRawByte(wchar_t c) {
    return c > kByteBase && c <= kByteBase + 0xFF;
}

// Copies a block of characters; whether all of them are ASCII, else what was copied does not count.
bool copyAscii(char* out, const wchar_t* from) {
    std::array<char, kBlock> block;  // apart from `out`, which as far as the compiler knows may be `from` itself
    unsigned int seen = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        seen |= static_cast<unsigned int>(from[i]);
        block[i] = static_cast<char>(from[i]);
    }
    std::memcpy(out, block.data(), kBlock);
    return seen < 0x80;
}

// The bytes of one character outside ASCII.
char* narrowOne(char* out, wchar_t c) {
    if (isRawByte(c)) {
        *out = static_cast<char>(c - kByteBase);
        return out + 1;
    }
    std::mbstate_t state{};
    const std::size_t size = std::wcrtomb(out, c, &state);
    if (size == static_cast<std::size_t>(-1)) {
        *out = '?';
        return out + 1;
    }
    return out + size;
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
        wchar_t c = 0;
        std::mbstate_t state{};
        const std::size_t size = std::mbrtowc(&c, from, static_cast<std::size_t>(end - from), &state);
        const bool decoded = size != 0 && size <= static_cast<std::size_t>(end - from);
        if (!decoded || (c >= kFirstSurrogate && c <= kLastSurrogate)) {
            *next++ = static_cast<wchar_t>(kByteBase + byte);
            ++from;
            continue;
        }
        *next++ = c;
        from += size;
    }
    out.resize(static_cast<std::size_t>(next - out.data()));
}

std::size_t maxNarrowSize(std::size_t characters) {
    return characters * MB_CUR_MAX;
}

char* narrowInto(char* out, StringView text) {
    const std::size_t size = text.size();
    std::size_t done = 0;
    // Most lines are ASCII: whole blocks, the last one laid over the end of the block before it.
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
