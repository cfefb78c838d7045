// SPDX-License-Identifier: MIT
#include "history/TextChain.h"

#include <zstd.h>

#include <new>
#include <stdexcept>

namespace vexo {
namespace {

// A small text is worth more work: at 10 handles a millisecond saves a quarter. Above this size, of the text and the one
// that it is packed against, the time grows too much.
constexpr std::size_t kSmallText = 32'000;
constexpr int kSmallTextLevel = 17;
constexpr int kLevel = 3;
constexpr int kLeastWindowLog = 10;
constexpr int kLeastDistantMatch = 256;  // bytes; a line has 150 to 400

// The window reaches back to the start of the text packed against.
int windowLog(std::size_t bytes) {
    int log = kLeastWindowLog;
    while ((std::size_t{1} << log) < bytes)
        ++log;
    return log;
}

void check(std::size_t result) {
    if (ZSTD_isError(result) != 0) throw std::runtime_error(ZSTD_getErrorName(result));
}

}  // namespace

char* Buffer::reserve(std::size_t size) {
    if (size > m_capacity) {
        m_bytes.reset();  // first, so that both are never held
        m_capacity = 0;
        // Not std::make_unique, which would write zeros to all of it.
        m_bytes = std::unique_ptr<char[]>(new char[size]);
        m_capacity = size;
    }
    m_size = 0;
    return m_bytes.get();
}

void TextPacker::Free::operator()(ZSTD_CCtx_s* context) const {
    ZSTD_freeCCtx(context);
}

TextPacker::TextPacker() : m_context(ZSTD_createCCtx()) {
    if (!m_context) throw std::bad_alloc();
    check(ZSTD_CCtx_setParameter(m_context.get(), ZSTD_c_checksumFlag, 1));
    // Without it the same text a few megabytes back is not found. Shorter matches are found in lines of other items, and
    // lead away from the item's own line: at the default of 64 bytes the packed text is two to three times as long.
    check(ZSTD_CCtx_setParameter(m_context.get(), ZSTD_c_enableLongDistanceMatching, 1));
    check(ZSTD_CCtx_setParameter(m_context.get(), ZSTD_c_ldmMinMatch, kLeastDistantMatch));
}

TextPacker::~TextPacker() = default;

std::string_view TextPacker::pack(std::string_view text, std::string_view against) {
    if (text.size() > kMaxTextBytes) throw std::length_error("the text of a record is too long");
    ZSTD_CCtx* context = m_context.get();
    const std::size_t together = text.size() + against.size();
    check(ZSTD_CCtx_setParameter(context, ZSTD_c_compressionLevel, together <= kSmallText ? kSmallTextLevel : kLevel));
    check(ZSTD_CCtx_setParameter(context, ZSTD_c_windowLog, windowLog(together)));
    check(ZSTD_CCtx_refPrefix(context, against.data(), against.size()));
    const std::size_t bound = ZSTD_compressBound(text.size());
    char* packed = m_packed.reserve(bound);
    const std::size_t size = ZSTD_compress2(context, packed, bound, text.data(), text.size());
    check(size);
    m_packed.setSize(size);
    return m_packed.view();
}

void TextUnpacker::Free::operator()(ZSTD_DCtx_s* context) const {
    ZSTD_freeDCtx(context);
}

TextUnpacker::TextUnpacker() : m_context(ZSTD_createDCtx()) {
    if (!m_context) throw std::bad_alloc();
}

TextUnpacker::~TextUnpacker() = default;

bool TextUnpacker::unpack(std::string_view packed, std::string_view against, Buffer& text) {
    // A damaged size may be any; so may the answers for "unknown" and "no such frame", which are the largest of all.
    const unsigned long long size = ZSTD_getFrameContentSize(packed.data(), packed.size());
    if (size > kMaxTextBytes) return false;
    char* bytes = text.reserve(static_cast<std::size_t>(size));
    check(ZSTD_DCtx_refPrefix(m_context.get(), against.data(), against.size()));
    const std::size_t result =
        ZSTD_decompressDCtx(m_context.get(), bytes, static_cast<std::size_t>(size), packed.data(), packed.size());
    if (ZSTD_isError(result) != 0 || result != size) return false;
    text.setSize(result);
    return true;
}

}  // namespace vexo
