// SPDX-License-Identifier: MIT
#include "output/ErrorLine.h"

#include "foundation/Piece.h"
#include "util/Utils.h"

namespace vexo {

String errorLine(String text, bool json) {
    if (!json) return text;
    Utils::addBackslashChars(text, L'"');
    return concat(L"\t\"error\": \"", text, L"\"");
}

}  // namespace vexo
