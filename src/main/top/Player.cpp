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
    return arrive(readBeyondDamage([&] { return m_reader.at(epochMs); }));
}

bool Player::first() {
    return arrive(readBeyondDamage([&] { return m_reader.first(); }));
}

bool Player::last() {
    const auto all = span();
    return all && goTo(all->last.number);
}

bool Player::nextWait() {
    const auto mark = m_waits.next(number());
    return mark && goTo(mark->number);
}

bool Player::previousWait() {
    const auto mark = m_waits.previous(number());
    return mark && goTo(mark->number);
}

bool Player::nextGap() {
    const auto gap = m_gaps.next(number());
    return gap && goTo(gap->behind.number);
}

bool Player::previousGap() {
    const auto gap = m_gaps.previous(number());
    return gap && goTo(gap->behind.number);
}

bool Player::hasNext() {
    takeReaderTo(number());
    return m_reader.hasNext();
}

bool Player::next() {
    const RecordPtr record = readBeyondDamage([&] {
        takeReaderTo(number());
        return m_reader.next();
    });
    if (!record) return false;
    set(record, m_place.now);
    return true;
}

bool Player::previous() {
    if (!m_previous) return false;
    set(m_previous, readableBefore(m_previous->number));
    return true;
}

// By way of the record before, which is shown too: what both are packed against is then unpacked once.
bool Player::goTo(std::uint64_t record) {
    RecordPtr before = readableBefore(record);
    if (!before) return arrive(readBeyondDamage([&] { return m_reader.goTo(record); }));
    RecordPtr now = readBeyondDamage([&] { return m_reader.next(); });
    if (!now) return false;
    set(std::move(now), std::move(before));
    return true;
}

bool Player::arrive(const RecordPtr& record) {
    if (!record) return false;
    set(record, readableBefore(record->number));
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
    while (record > 1) {
        try {
            m_readerAt = 0;
            RecordPtr before = m_reader.goTo(record - 1);
            // A number that is missing leads behind it.
            if (before && before->number >= record) before = m_reader.previous();
            if (before) m_readerAt = before->number;
            return before;
        } catch (const HistoryException&) {
            tellPassed({--record, last});
        }
    }
    return nullptr;
}

}  // namespace vexo
