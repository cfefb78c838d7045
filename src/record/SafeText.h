// SPDX-License-Identifier: MIT
// Texts of the engine made fit for a screen or a page.
#ifndef VEXO_RECORD_SAFETEXT_H
#define VEXO_RECORD_SAFETEXT_H

#include <string>
#include <string_view>

namespace vexo {

// UTF-8 that neither moves a cursor nor hides or turns text. Control characters (C0, DEL, C1) and bytes that are no UTF-8
// become "\x1b", zero-width and direction characters "\u{202e}"; everything else stays as it is.
std::string safeText(std::string_view bytes);

}  // namespace vexo

#endif
