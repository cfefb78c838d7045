// SPDX-License-Identifier: MIT
#include "foundation/Locale.h"

namespace vexo {

void keepLocale() {
    // Kept until the process ends: threads that nobody waits for use it too.
    if (const locale_t own = ::duplocale(LC_GLOBAL_LOCALE)) ::uselocale(own);
}

}  // namespace vexo
