// SPDX-License-Identifier: MIT
#include "Statuses.h"

#include <algorithm>
#include <array>

namespace xr::postgres {

namespace {

constexpr std::size_t kCodeSize = 5;

struct Row {
    std::string_view sqlState;
    Status status;
};

constexpr std::array<Row, 10> kRows = {
    {
     {"28000", kAccessDenied},
     {"28P01", kAccessDenied},
     {"3D000", kNoDatabase},
     {"53300", kNoMoreConnections},
     {"57P03", kNotReady},
     {"57P01", kConnectionLost},
     {"57P02", kConnectionLost},
     {"57P05", kConnectionLost},
     {"55P03", kCatalogLocked},
     {"57014", kCancelled},
     }
};

Status lookUp(std::string_view sqlState) {
    if (sqlState.substr(0, 2) == "08") return kConnectionLost;
    const auto* found =
        std::find_if(kRows.begin(), kRows.end(), [&](const Row& row) { return row.sqlState == sqlState; });
    return found == kRows.end() ? kOtherError : found->status;
}

}  // namespace

Status statusOfConnecting(std::string_view sqlState) {
    if (sqlState.empty()) return kUnreachable;
    // No right to connect to the database.
    if (sqlState == "42501") return kNoDatabase;
    return lookUp(sqlState);
}

Status statusOfStatement(std::string_view sqlState) {
    return lookUp(sqlState);
}

bool isLost(Status status) {
    return status == kConnectionLost || status == kTimeout;
}

bool isUntranslatable(std::string_view sqlState) {
    return sqlState == "22021" || sqlState == "22P05";
}

std::string_view sqlStateOf(std::string_view message) {
    while (!message.empty() && (message.back() == '\n' || message.back() == ' '))
        message.remove_suffix(1);
    // "... FATAL:  28P01"; the word before it may be translated.
    constexpr std::string_view kBefore = ":  ";
    if (message.size() < kCodeSize + kBefore.size()) return {};
    const std::string_view code = message.substr(message.size() - kCodeSize);
    const bool isCode =
        std::all_of(code.begin(), code.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z'); });
    const std::string_view before = message.substr(message.size() - kCodeSize - kBefore.size(), kBefore.size());
    return isCode && before == kBefore ? code : std::string_view();
}

}  // namespace xr::postgres
