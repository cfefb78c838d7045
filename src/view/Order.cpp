// SPDX-License-Identifier: MIT
#include "view/Order.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <tuple>

namespace vexo {
namespace {

char folded(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool containsFolded(std::string_view text, std::string_view needle) {
    return std::search(text.begin(), text.end(), needle.begin(), needle.end(),
                       [](char left, char right) { return folded(left) == folded(right); }) != text.end();
}

// A row's value in few bytes: a hundred thousand of them are compared while somebody waits for a key to answer.
struct Key {
    std::uint64_t number;  // in the order of the numbers
    std::uint64_t start;   // of the text, behind what all texts have in common
    std::string_view text;
    std::uint32_t item;
};

std::uint64_t orderOf(double number) {
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63U;
    number += 0.0;  // makes -0 a plain one
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

std::size_t commonStart(const std::vector<Key>& keys) {
    if (keys.empty()) return 0;
    const std::string_view first = keys.front().text;
    std::size_t length = first.size();
    for (const Key& key : keys) {
        length = std::min(length, key.text.size());
        while (key.text.compare(0, length, first, 0, length) != 0)
            --length;
    }
    return length;
}

void noteStarts(std::vector<Key>& keys) {
    const std::size_t common = commonStart(keys);
    for (Key& key : keys) {
        const std::string_view rest = key.text.substr(common, sizeof key.start);
        for (std::size_t place = 0; place < sizeof key.start; ++place)
            key.start = key.start << 8U | (place < rest.size() ? static_cast<unsigned char>(rest[place]) : 0U);
    }
}

void sortItems(const Facts& facts, const Column& column, bool isDown, Items& items) {
    std::vector<Key> keys;
    keys.reserve(items.size());
    Items unknown;
    for (const std::uint32_t item : items) {
        const Value value = column.value(facts, item);
        if (value.kind == Value::Kind::kUnknown) {
            unknown.push_back(item);
        } else {
            keys.push_back({orderOf(value.number), 0, value.text, item});
        }
    }
    noteStarts(keys);
    std::stable_sort(keys.begin(), keys.end(), [isDown](const Key& left, const Key& right) {
        const Key& lower = isDown ? right : left;
        const Key& upper = isDown ? left : right;
        return std::tie(lower.number, lower.start, lower.text) < std::tie(upper.number, upper.start, upper.text);
    });
    std::transform(keys.begin(), keys.end(), items.begin(), [](const Key& key) { return key.item; });
    std::copy(unknown.begin(), unknown.end(), items.end() - static_cast<std::ptrdiff_t>(unknown.size()));
}

// Puts each wait behind the one that it stands below; those below the same one, and the roots, keep their order.
Items treeOf(const std::vector<WaitNode>& nodes, const Items& items) {
    std::vector<Items> below(nodes.size());
    Items roots;
    for (const std::uint32_t item : items)
        (nodes[item].parent == kNowhere ? roots : below[nodes[item].parent]).push_back(item);
    Items tree;
    Items open(roots.rbegin(), roots.rend());
    while (!open.empty()) {
        const std::uint32_t item = open.back();
        open.pop_back();
        tree.push_back(item);
        open.insert(open.end(), below[item].rbegin(), below[item].rend());
    }
    return tree;
}

void filterItems(const Facts& facts, const Sheet& sheet, const std::string& filter, Items& items) {
    std::vector<bool> isAbove(sheet.isTree ? facts.waits().size() : 0, false);
    if (sheet.isTree) {
        for (const std::uint32_t item : items) {
            if (!rowContains(facts, sheet, item, filter)) continue;
            for (std::uint32_t place = item; place != kNowhere && !isAbove[place]; place = facts.waits()[place].parent)
                isAbove[place] = true;
        }
    }
    const auto isOut = [&](std::uint32_t item) {
        return sheet.isTree ? !isAbove[item] : !rowContains(facts, sheet, item, filter);
    };
    items.erase(std::remove_if(items.begin(), items.end(), isOut), items.end());
}

}  // namespace

bool rowContains(const Facts& facts, const Sheet& sheet, std::uint32_t item, const std::string& needle) {
    return std::any_of(sheet.columns.begin(), sheet.columns.end(), [&](const Column& column) {
        if (column.side != Side::kLeft) return false;  // a number
        const Value value = column.value(facts, item);
        if (value.kind != Value::Kind::kText) return false;
        return containsFolded(value.before + screenText(value.text) + value.behind, needle);
    });
}

Items arranged(const Facts& facts, const Sheet& sheet, Items items, const Arrangement& arrangement) {
    if (!arrangement.filter.empty()) filterItems(facts, sheet, arrangement.filter, items);
    if (arrangement.column != kUnsorted) {
        sortItems(facts, sheet.columns[arrangement.column], arrangement.isDown, items);
    }
    return sheet.isTree ? treeOf(facts.waits(), items) : items;
}

}  // namespace vexo
