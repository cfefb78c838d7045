// SPDX-License-Identifier: MIT
// A table that is being looked at: its rows, their order, the cursor, and what of it fits on the screen.
#ifndef VEXO_VIEW_LEVEL_H
#define VEXO_VIEW_LEVEL_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "view/Order.h"
#include "view/Picture.h"
#include "view/Sheet.h"

namespace vexo {

using Match = Matches (*)(const Record& before, const Record& now);

// An item that is found again in other records. While it is missing, the last record that had it is kept.
struct Anchor {
    RecordPtr record;
    std::uint32_t item = 0;
    bool isPresent = true;

    void moveTo(const RecordPtr& now, Match match);
};

// Columns of a table as they stand on a screen.
struct PlacedColumn {
    std::size_t column = 0;
    int width = 0;
};

class Level {
public:
    explicit Level(const Sheet& sheet) : m_sheet(&sheet) { sortAs(sheet.firstSort); }
    // The handles of an item, whose table is `of`.
    Level(const Sheet& sheet, const Sheet& of, Anchor owner) : Level(sheet) {
        m_owner = std::move(owner);
        m_ownersMatch = of.match;
    }

    const Sheet& sheet() const { return *m_sheet; }
    const std::optional<Anchor>& owner() const { return m_owner; }
    const std::optional<Anchor>& followed() const { return m_followed; }
    const Arrangement& arrangement() const { return m_arrangement; }
    std::size_t rows() const { return m_rows.size(); }
    std::size_t cursor() const { return m_cursor; }
    // The item under the cursor.
    std::optional<std::uint32_t> item() const;

    // Another record is there: the rows are found anew before they are next looked at.
    void moveTo(const RecordPtr& now);
    void refresh(const Facts& facts);

    void step(std::ptrdiff_t rows);
    void toStart() { m_cursor = 0; }
    void toEnd() { m_cursor = m_rows.empty() ? 0 : m_rows.size() - 1; }
    void toItem(std::uint32_t item);
    // To the next row with a text that contains `needle`, or to one from the start on; whether there is any.
    bool toNext(const Facts& facts, const std::string& needle);
    // Follows the item under the cursor, or no longer.
    void follow(const RecordPtr& now);

    // Sorts by the column so many behind the present one, of those that the screen shows.
    void sortBy(int columnsFurther);
    void invert();
    void setFilter(std::string filter);

    // Lines for so many rows and columns of the screen: the headings, and the rows around the cursor.
    std::vector<Line> lines(const Facts& facts, Size size);
    // Rows on a page of the picture made last.
    std::ptrdiff_t page() const { return m_page; }

private:
    void sortAs(std::size_t column);
    void arrange(const Facts& facts);
    void measure(const Facts& facts);
    std::vector<PlacedColumn> choose(const Facts& facts, int columns) const;
    std::vector<PlacedColumn> layOut(const Facts& facts, int columns) const;
    int widthOfColumn(const Facts& facts, std::size_t column, int width) const;
    Line headings(const Facts& facts) const;
    Line row(const Facts& facts, std::size_t place, int columns) const;

    const Sheet* m_sheet;
    std::optional<Anchor> m_owner;
    Match m_ownersMatch = nullptr;
    std::optional<Anchor> m_followed;
    Arrangement m_arrangement;
    bool m_isStale = true;
    Items m_rows;
    std::size_t m_cursor = 0;
    std::size_t m_top = 0;
    std::ptrdiff_t m_page = 1;
    std::vector<int> m_widest;  // of the texts of each column, so far: columns do not shrink with every record
    std::vector<PlacedColumn> m_placed;
};

}  // namespace vexo

#endif
