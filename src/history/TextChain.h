// SPDX-License-Identifier: MIT
// Packs the text of a record against that of the record before: between two records little changes.
#ifndef VEXO_HISTORY_TEXTCHAIN_H
#define VEXO_HISTORY_TEXTCHAIN_H

#include <cstddef>
#include <memory>
#include <string_view>

struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace vexo {

// Bytes in memory that is kept and grows as needed. Memory that was never written costs nothing.
class Buffer {
public:
    // Room for `size` bytes; what was there is lost.
    char* reserve(std::size_t size);
    void setSize(std::size_t size) { m_size = size; }
    std::string_view view() const { return {m_bytes.get(), m_size}; }
    void clear() { m_size = 0; }

private:
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_capacity = 0;
    std::size_t m_size = 0;
};

// What a text may have at most, in bytes: SQLite's own limit of a value.
inline constexpr std::size_t kMaxTextBytes = 1'000'000'000;

class TextPacker {
public:
    TextPacker();
    ~TextPacker();
    TextPacker(const TextPacker&) = delete;
    TextPacker& operator=(const TextPacker&) = delete;

    // `text`, packed; without it nobody unpacks what was packed `against` another text. An empty one stands for none.
    // Valid until the next call. Throws std::length_error beyond kMaxTextBytes.
    std::string_view pack(std::string_view text, std::string_view against);

private:
    struct Free {
        void operator()(ZSTD_CCtx_s* context) const;
    };
    std::unique_ptr<ZSTD_CCtx_s, Free> m_context;
    Buffer m_packed;
};

class TextUnpacker {
public:
    TextUnpacker();
    ~TextUnpacker();
    TextUnpacker(const TextUnpacker&) = delete;
    TextUnpacker& operator=(const TextUnpacker&) = delete;

    // The text that was packed `against` the same text. Gives false for anything that pack() did not make of them: a
    // checksum of the text tells.
    bool unpack(std::string_view packed, std::string_view against, Buffer& text);

private:
    struct Free {
        void operator()(ZSTD_DCtx_s* context) const;
    };
    std::unique_ptr<ZSTD_DCtx_s, Free> m_context;
};

}  // namespace vexo

#endif
