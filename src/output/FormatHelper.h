// SPDX-License-Identifier: MIT
// The look of report lines: indentation by tabs, ruled titles, marked errors.
#ifndef VEXO_OUTPUT_FORMATHELPER_H
#define VEXO_OUTPUT_FORMATHELPER_H

#include <initializer_list>

#include "foundation/Piece.h"
#include "foundation/Ref.h"
#include "foundation/String.h"
#include "output/Logger.h"

namespace vexo {

// getTabStr(), padToLen() and putError() have no caller in the monitor: they belong to the published interface.
class FormatHelper : public RefCounted {
public:
    explicit FormatHelper(Ref<Logger> logger);

    void setLevel(Level level) { m_logger->setLevel(level); }

    // `count` tabs; none when it is negative.
    static String getTabStr(int count);
    // Fills `text` with blanks up to `length` characters; a longer one stays as it is.
    static void padToLen(String& text, int length);

    // One line at level INFO, indented by `indent` tabs.
    void putData(StringView line, int indent);
    // The same, composed of several pieces.
    void putPieces(std::initializer_list<Piece> pieces, int indent);
    // The title in upper case between two rules of its length, each of the three lines indented by `indent` tabs.
    void putHeader(StringView title, int indent);
    void putHeader(std::initializer_list<Piece> title, int indent);
    // One line at level SEVERE, never indented. A published operation; errors of the monitor go to standard error.
    void putError(StringView message);

private:
    void startLine(int indent);

    Ref<Logger> m_logger;
    String m_line;  // the line being composed; reused, so that a line costs no allocation
};

}  // namespace vexo

#endif
