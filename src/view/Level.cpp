// SPDX-License-Identifier: MIT
#include "view/Level.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vexo {
namespace {

constexpr int kBetween = 2;  // blanks between columns
// Columns up to this priority are shown even where names have to be cut for them.
constexpr int kLastOfUsual = 4;

void append(Line& line, std::string text, Style style) {
    if (!line.empty() && line.back().style == style) {
        line.back().text += text;
    } else {
        line.push_back({std::move(text), style});
    }
}

// What a value takes where there is room enough.
int widthOf(const Column& column, const Value& value) {
    if (value.kind == Value::Kind::kBar) return column.most;
    if (value.kind != Value::Kind::kText) return vexo::widthOf(shown(value, column.most, column.cut));
    return vexo::widthOf(value.before) + vexo::widthOf(screenText(value.text)) + vexo::widthOf(value.behind);
}

}  // namespace

void Anchor::moveTo(const RecordPtr& now, Match match) {
    if (!now || record == now) return;
    if (match) {
        const Matches matches = match(*record, *now);
        const auto found = std::find(matches.begin(), matches.end(), item);
        isPresent = found != matches.end();
        if (!isPresent) return;
        item = static_cast<std::uint32_t>(found - matches.begin());
    }
    record = now;
}

std::optional<std::uint32_t> Level::item() const {
    return m_cursor < m_rows.size() ? std::optional(m_rows[m_cursor]) : std::nullopt;
}

void Level::moveTo(const RecordPtr& now) {
    if (m_owner) m_owner->moveTo(now, m_ownersMatch);
    if (m_followed) m_followed->moveTo(now, m_sheet->match);
    m_isStale = true;
}

void Level::refresh(const Facts& facts) {
    if (!std::exchange(m_isStale, false)) return;
    arrange(facts);
    measure(facts);
    if (m_followed && m_followed->isPresent) toItem(m_followed->item);
    m_cursor = std::min(m_cursor, m_rows.empty() ? 0 : m_rows.size() - 1);
}

void Level::arrange(const Facts& facts) {
    m_rows.clear();
    if (!facts.hasRecord() || !facts.now().has(m_sheet->section) || (m_owner && !m_owner->isPresent)) return;
    m_rows = arranged(facts, *m_sheet, m_sheet->items(facts, m_owner ? m_owner->item : 0), m_arrangement);
}

void Level::measure(const Facts& facts) {
    m_widest.resize(m_sheet->columns.size(), 0);
    for (std::size_t column = 0; column < m_widest.size(); ++column) {
        const Column& it = m_sheet->columns[column];
        if (it.least == it.most) continue;  // its width is what it is
        for (const std::uint32_t item : m_rows)
            m_widest[column] = std::max(m_widest[column], widthOf(it, it.value(facts, item)));
    }
}

void Level::step(std::ptrdiff_t rows) {
    const auto last = static_cast<std::ptrdiff_t>(m_rows.empty() ? 0 : m_rows.size() - 1);
    m_cursor =
        static_cast<std::size_t>(std::clamp(static_cast<std::ptrdiff_t>(m_cursor) + rows, std::ptrdiff_t{0}, last));
}

void Level::toItem(std::uint32_t item) {
    const auto found = std::find(m_rows.begin(), m_rows.end(), item);
    if (found != m_rows.end()) m_cursor = static_cast<std::size_t>(found - m_rows.begin());
}

bool Level::toNext(const Facts& facts, const std::string& needle) {
    for (std::size_t ahead = 1; ahead <= m_rows.size(); ++ahead) {
        const std::size_t place = (m_cursor + ahead) % m_rows.size();
        if (!rowContains(facts, *m_sheet, m_rows[place], needle)) continue;
        m_cursor = place;
        return true;
    }
    return false;
}

void Level::follow(const RecordPtr& now) {
    const auto under = item();
    if (m_followed || !under) {
        m_followed.reset();
    } else {
        m_followed = Anchor{now, *under, true};
    }
}

void Level::sortAs(std::size_t column) {
    m_arrangement.column = column;
    m_arrangement.isDown = column == kUnsorted || m_sheet->columns[column].sortsDown;
    m_isStale = true;
}

void Level::sortBy(int columnsFurther) {
    if (m_placed.empty()) return;
    const auto count = static_cast<int>(m_placed.size());
    const auto present = std::find_if(m_placed.begin(), m_placed.end(), [this](const PlacedColumn& placed) {
        return placed.column == m_arrangement.column;
    });
    // From no column at all, to the first or the last one.
    const int place = present != m_placed.end() ? static_cast<int>(present - m_placed.begin())
                      : columnsFurther > 0      ? -1
                                                : 0;
    sortAs(m_placed[static_cast<std::size_t>((place + columnsFurther + count) % count)].column);
}

void Level::invert() {
    if (m_arrangement.column == kUnsorted) return;
    m_arrangement.isDown = !m_arrangement.isDown;
    m_isStale = true;
}

void Level::setFilter(std::string filter) {
    if (m_arrangement.filter == filter) return;
    m_arrangement.filter = std::move(filter);
    m_isStale = true;
}

int Level::widthOfColumn(const Facts& facts, std::size_t column, int width) const {
    return std::max(width, widthOf(facts.texts()[m_sheet->columns[column].heading]));
}

// Columns by their priorities, as many as fit; each as wide as it has to be.
std::vector<PlacedColumn> Level::choose(const Facts& facts, int columns) const {
    const auto& specs = m_sheet->columns;
    std::vector<std::size_t> byPriority(specs.size());
    std::iota(byPriority.begin(), byPriority.end(), 0);
    std::stable_sort(byPriority.begin(), byPriority.end(),
                     [&](std::size_t left, std::size_t right) { return specs[left].priority < specs[right].priority; });
    std::vector<PlacedColumn> placed;
    int least = -kBetween;
    int comfort = -kBetween;  // all that the texts take, within reason
    for (const std::size_t column : byPriority) {
        const Column& spec = specs[column];
        const int width = widthOfColumn(facts, column, spec.least);
        least += kBetween + width;
        comfort += kBetween + std::max(width, std::clamp(m_widest[column], spec.least, spec.most));
        if ((spec.priority <= kLastOfUsual ? least : comfort) > columns && !placed.empty()) break;
        placed.push_back({column, width});
    }
    std::sort(placed.begin(), placed.end(),
              [](const PlacedColumn& left, const PlacedColumn& right) { return left.column < right.column; });
    return placed;
}

// First all columns that fit; then names grow, all alike, each to the widest of them.
std::vector<PlacedColumn> Level::layOut(const Facts& facts, int columns) const {
    std::vector<PlacedColumn> placed = choose(facts, columns);
    int room = columns + kBetween;
    for (const PlacedColumn& column : placed)
        room -= column.width + kBetween;
    for (bool grew = true; grew;) {
        grew = false;
        for (PlacedColumn& column : placed) {
            if (room <= 0 || column.width >= m_widest[column.column]) continue;
            ++column.width;
            --room;
            grew = true;
        }
    }
    return placed;
}

Line Level::headings(const Facts& facts) const {
    Line line;
    for (const PlacedColumn& placed : m_placed) {
        const Column& column = m_sheet->columns[placed.column];
        const std::string heading = cutTo(facts.texts()[column.heading], placed.width, Cut::kEnd);
        if (!line.empty()) append(line, std::string(kBetween, ' '), Style::kPlain);
        const bool isSorted = placed.column == m_arrangement.column;
        const auto blanks = static_cast<std::size_t>(placed.width - widthOf(heading));
        if (column.side == Side::kRight) append(line, std::string(blanks, ' '), Style::kPlain);
        append(line, heading, isSorted ? Style::kSelected : Style::kStrong);
        if (column.side == Side::kLeft) append(line, std::string(blanks, ' '), Style::kPlain);
    }
    return line;
}

Line Level::row(const Facts& facts, std::size_t place, int columns) const {
    const bool isSelected = place == m_cursor;
    Line line;
    int used = 0;
    for (const PlacedColumn& placed : m_placed) {
        const Column& column = m_sheet->columns[placed.column];
        const Value value = column.value(facts, m_rows[place]);
        const std::string text = shown(value, placed.width, column.cut);
        if (!line.empty()) append(line, std::string(kBetween, ' '), isSelected ? Style::kSelected : Style::kPlain);
        append(line, column.side == Side::kRight ? rightIn(text, placed.width) : leftIn(text, placed.width),
               isSelected ? Style::kSelected : value.style);
        used += placed.width + kBetween;
    }
    if (isSelected) {
        append(line, rightIn("", columns - (used - kBetween)), Style::kSelected);
    } else {
        line.back().text.erase(line.back().text.find_last_not_of(' ') + 1);
    }
    return line;
}

std::vector<Line> Level::lines(const Facts& facts, Size size) {
    refresh(facts);
    m_placed = layOut(facts, size.columns);
    std::vector<Line> lines;
    if (size.rows < 2) return lines;
    lines.push_back(headings(facts));
    m_page = size.rows - 1;
    const auto page = static_cast<std::size_t>(m_page);
    m_top = std::min(m_top, m_rows.size() > page ? m_rows.size() - page : 0);
    m_top = std::clamp(m_top, m_cursor >= page ? m_cursor - page + 1 : 0, m_cursor);
    for (std::size_t place = m_top; place < std::min(m_top + page, m_rows.size()); ++place)
        lines.push_back(row(facts, place, size.columns));
    return lines;
}

}  // namespace vexo
