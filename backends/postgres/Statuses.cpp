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

bool isSqlState(std::string_view text) {
    return text.size() == kCodeSize && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
           });
}

Status lookUp(std::string_view sqlState) {
    if (sqlState.substr(0, 2) == "08") return kConnectionLost;
    const auto* found =
        std::find_if(kRows.begin(), kRows.end(), [&](const Row& row) { return row.sqlState == sqlState; });
    return found == kRows.end() ? kOtherError : found->status;
}

}  // namespace

Status statusOfConnecting(std::string_view sqlState) {
    if (sqlState.empty()) return kUnreachable;
    // No right to connect to the database, and one that takes no connections.
    if (sqlState == "42501" || sqlState == "55000") return kNoDatabase;
    // Settings that come with the connection: one that old servers do not know, and any at all for a pooler.
    if (sqlState == "42704" || sqlState == "08P01") return kUnsupportedServer;
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

std::string toLine(std::string_view text) {
    constexpr std::string_view kSpace = " \t\n";
    std::string line;
    while (!text.empty()) {
        const std::string_view first = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.find_first_not_of(kSpace, first.size()), text.size()));
        line.append(first.substr(0, first.find_last_not_of(kSpace) + 1)).append(text.empty() ? "" : ". ");
    }
    return line;
}

Refusal toRefusal(std::string_view message) {
    // "... FATAL:  28P01: password authentication failed ..."; the word before the code may be translated.
    constexpr std::string_view kBefore = ":  ", kBehind = ": ";
    for (std::size_t at = message.rfind(kBefore); at != std::string_view::npos && at != 0;
         at = message.rfind(kBefore, at - 1)) {
        const std::size_t begin = at + kBefore.size();
        const std::string_view code = message.substr(begin, kCodeSize);
        const bool isWhole = message.substr(begin + code.size(), kBehind.size()) == kBehind;
        if (isWhole && isSqlState(code))
            return {std::string(code), toLine(message.substr(0, message.find('\n', begin)))};
    }
    return {"", toLine(message)};
}

}  // namespace xr::postgres
