// SPDX-License-Identifier: MIT
#include "main/top/Player.h"

#include <utility>

#include "record/Timestamp.h"

namespace vexo {

Player::Player(const std::string& path) : m_reader(path), m_waits(path), m_gaps(path), m_tables(path) {
}

std::optional<HistorySpan> Player::span() {
    return m_tables.span(kFirstEpochMs, kLastEpochMs);
}

String Player::takeNotice() {
    return std::exchange(m_notice, {});
}

bool Player::at(std::int64_t epochMs) {
    return goTo(m_reader.numberAt(epochMs));
}

bool Player::first() {
    return goTo(m_reader.numberFrom(0, 1));
}

bool Player::last() {
    const auto all = span();
    return all && goTo(all->last.number);
}

bool Player::nextWait(std::uint32_t times) {
    return goFar(times, [this](std::uint64_t from) {
        const auto mark = m_waits.next(from);
        return mark ? mark->number : 0;
    });
}

bool Player::previousWait(std::uint32_t times) {
    return goFar(times, [this](std::uint64_t from) {
        const auto mark = m_waits.previous(from);
        return mark ? mark->number : 0;
    });
}

bool Player::nextGap(std::uint32_t times) {
    return goFar(times, [this](std::uint64_t from) {
        const auto gap = m_gaps.next(from);
        return gap ? gap->behind.number : 0;
    });
}

bool Player::previousGap(std::uint32_t times) {
    return goFar(times, [this](std::uint64_t from) {
        const auto gap = m_gaps.previous(from);
        return gap ? gap->behind.number : 0;
    });
}

// `find` gives the number of the next place behind or before that of a record; 0 where there is none.
template <typename Find>
bool Player::goFar(std::uint32_t times, Find find) {
    std::uint64_t target = 0;
    for (std::uint64_t found = number(); times > 0 && (found = find(found)) != 0; --times)
        target = found;
    return goTo(target);
}

bool Player::hasNext() {
    takeReaderTo(number());
    return m_reader.hasNext();
}

bool Player::next(std::uint32_t times) {
    if (times > 1) return goTo(m_reader.numberFrom(number(), times));
    const RecordPtr record = readBeyondDamage([&] {
        takeReaderTo(number());
        return m_reader.next();
    });
    if (!record) return false;
    set(record, m_place.now);
    return true;
}

bool Player::previous(std::uint32_t times) {
    if (times > 1) return goTo(m_reader.numberFrom(number(), -std::int64_t{times}));
    if (!m_previous) return false;
    set(m_previous, readableBefore(m_previous->number));
    return true;
}

// By way of the record before, which is shown too: what both are packed against is then unpacked once.
bool Player::goTo(std::uint64_t record) {
    if (record == 0) return false;
    if (m_place.now && record == m_reader.numberFrom(number(), 1)) return next(1);
    if (m_previous && record == m_previous->number) return previous(1);
    RecordPtr before = readableBefore(record);
    RecordPtr now = readBeyondDamage([&] { return before ? m_reader.next() : m_reader.goTo(record); });
    if (!now && before) {
        // All of the rest is damaged: this is the last one that can be read.
        now = std::move(before);
        before = readableBefore(now->number);
    }
    if (!now) return false;
    set(std::move(now), std::move(before));
    return true;
}

void Player::set(RecordPtr now, RecordPtr previous) {
    m_place.gapMs.reset();
    m_place.gapNextMs.reset();
    if (const auto gap = m_gaps.before(now->number)) m_place.gapMs = gap->lengthMs;
    if (const auto gap = m_gaps.behind(now->number)) m_place.gapNextMs = gap->lengthMs;
    m_place.before = previous && previous->run == now->run ? previous : nullptr;
    m_previous = std::move(previous);
    m_place.now = std::move(now);
}

// Back from a look at the record before.
void Player::takeReaderTo(std::uint64_t record) {
    if (m_readerAt == record) return;
    m_reader.goTo(record);
    m_readerAt = record;
}

// Gives what `read` gives, or the next record that can be read. A failure that cannot be passed is thrown.
template <typename Read>
RecordPtr Player::readBeyondDamage(Read read) {
    RecordPtr record;
    try {
        record = read();
    } catch (const HistoryException&) {
        m_readerAt = 0;
        const RecordRange passed = m_reader.passDamage();
        tellPassed(passed);
        record = nextReadable(passed.first);
    }
    if (record) m_readerAt = record->number;
    return record;
}

// The next record, behind all groups of records that are damaged; `first` is the first of them.
RecordPtr Player::nextReadable(std::uint64_t first) {
    for (;;) {
        try {
            return m_reader.next();
        } catch (const HistoryException&) {
            tellPassed({first, m_reader.passDamage().last});
        }
    }
}

void Player::tellPassed(RecordRange records) {
    m_notice = MessageHelper("TOP", "TOP_")
                   .getResStr("PASSED", std::to_string(records.first).c_str(), std::to_string(records.last).c_str());
}

// The nearest one before `record`; null if there is none. Damage is passed group by group.
RecordPtr Player::readableBefore(std::uint64_t record) {
    const std::uint64_t last = record - 1;
    while (const std::uint64_t before = m_reader.numberFrom(record, -1)) {
        try {
            m_readerAt = 0;
            RecordPtr found = m_reader.goTo(before);
            // The writer may have dropped it just now.
            if (!found || found->number >= record) return nullptr;
            m_readerAt = found->number;
            return found;
        } catch (const HistoryException&) {
            record = before;
            tellPassed({record, last});
        }
    }
    return nullptr;
}

}  // namespace vexo
