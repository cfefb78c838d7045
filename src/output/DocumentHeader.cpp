// SPDX-License-Identifier: MIT
#include "output/DocumentHeader.h"

#include "foundation/Piece.h"
#include "output/Version.h"

namespace vexo {

std::array<String, 5> documentHeader(const MessageHelper& messages) {
    return {
        // Established output: an empty line stands before the opening brace.
        L"\n{",
        L"\t\"description\": \"Monitor Utility\",",
        L"\t\"title\": \"JSON output\",",
        // Established output: both texts stand as the bundle gives them, not escaped.
        concat(L"\t\"version\": \"", messages.getResStr("NAME", kProgramVersion), L"\","),
        concat(L"\t\"copyright\": \"", messages.getResStr("COPYRIGHT"), L"\","),
    };
}

}  // namespace vexo
