// SPDX-License-Identifier: MIT
#include "output/FormatHelper.h"

#include <algorithm>
#include <utility>

namespace vexo {

FormatHelper::FormatHelper(Ref<Logger> logger) : m_logger(std::move(logger)) {
}

String FormatHelper::getTabStr(int count) {
    return String(static_cast<std::size_t>(std::max(count, 0)), L'\t');
}

void FormatHelper::padToLen(String& text, int length) {
    const auto wanted = static_cast<std::size_t>(std::max(length, 0));
    if (text.size() < wanted) text.resize(wanted, L' ');
}

void FormatHelper::startLine(int indent) {
    m_line.clear();
    if (indent > 0) m_line.append(static_cast<std::size_t>(indent), L'\t');
}

void FormatHelper::putData(StringView line, int indent) {
    startLine(indent);
    m_line.append(line);
    m_logger->info(m_line);
}

void FormatHelper::putPieces(std::initializer_list<Piece> pieces, int indent) {
    startLine(indent);
    for (const StringView piece : pieces)
        m_line.append(piece);
    m_logger->info(m_line);
}

void FormatHelper::putHeader(StringView title, int indent) {
    putHeader({Piece(title)}, indent);
}

void FormatHelper::putHeader(std::initializer_list<Piece> title, int indent) {
    std::size_t length = 0;
    for (const StringView piece : title)
        length += piece.size();
    const auto putRule = [&] {
        startLine(indent);
        m_line.append(length, L'=');
        m_logger->info(m_line);
    };
    putRule();
    startLine(indent);
    for (const StringView piece : title)
        appendUpper(m_line, piece);
    m_logger->info(m_line);
    putRule();
}

void FormatHelper::putError(StringView message) {
    m_line.assign(L"ERROR! - ");
    m_line.append(message);
    m_logger->severe(m_line);
}

}  // namespace vexo
