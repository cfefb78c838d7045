// SPDX-License-Identifier: MIT
// Writes a report section in one of its two forms, so that both can stand side by side in the source.
#ifndef VEXO_MONITOR_REPORTWRITER_H
#define VEXO_MONITOR_REPORTWRITER_H

#include <cstddef>

#include "foundation/Piece.h"
#include "foundation/String.h"
#include "output/FormatHelper.h"

namespace vexo {

// One line of a section in both forms: the label of the text form; the start of the JSON form; the value of both; the
// end of the JSON form.
struct Row {
    Piece text;
    Piece json;
    Piece value;
    Piece end;
};

class ReportWriter {
public:
    ReportWriter(FormatHelper& format, bool json) : m_format(format), m_json(json) {}

    // A ruled title, in the text form only.
    template <typename... Pieces>
    void title(int level, const Pieces&... pieces) {
        if (!m_json) m_format.putHeader({Piece(pieces)...}, level);
    }
    // A line of the text form only.
    template <typename... Pieces>
    void text(int level, const Pieces&... pieces) {
        if (!m_json) m_format.putPieces({Piece(pieces)...}, level);
    }
    // A line of the JSON form only; it brings its own tabs.
    template <typename... Pieces>
    void json(const Pieces&... pieces) {
        if (m_json) m_format.putPieces({Piece(pieces)...}, 0);
    }
    // Lines that both forms have; `level` indents the text form.
    template <std::size_t Count>
    void rows(int level, const Row (&rows)[Count]) {
        for (const Row& row : rows) {
            if (m_json) {
                m_format.putPieces({StringView(row.json), StringView(row.value), StringView(row.end)}, 0);
            } else {
                m_format.putPieces({StringView(row.text), StringView(row.value)}, level);
            }
        }
    }

private:
    FormatHelper& m_format;
    const bool m_json;
};

}  // namespace vexo

#endif
