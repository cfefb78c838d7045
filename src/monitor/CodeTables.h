// SPDX-License-Identifier: MIT
// The words that stand for the engine's codes in the reports.
#ifndef VEXO_MONITOR_CODETABLES_H
#define VEXO_MONITOR_CODETABLES_H

#include <unordered_map>

#include "foundation/Ref.h"
#include "foundation/String.h"

namespace vexo {

// What the reports print where a value does not apply.
inline constexpr StringView NA = L"n/a";

// Codes of one kind and their words.
struct CodeTable : RefCounted {
    std::unordered_map<int, StringView> words;
};

}  // namespace vexo

#endif
