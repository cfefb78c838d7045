// SPDX-License-Identifier: MIT
// A place in a history, and the ways from there.
#ifndef VEXO_MAIN_TOP_PLAYER_H
#define VEXO_MAIN_TOP_PLAYER_H

#include <cstdint>
#include <optional>
#include <string>

#include "history/HistoryGaps.h"
#include "history/HistoryReader.h"
#include "history/HistoryTables.h"
#include "history/HistoryWaits.h"
#include "view/Key.h"

namespace vexo {

// For use by one thread. A damaged record is passed, and told by takeNotice(). The operations throw HistoryException for
// what else cannot be read; the place stays as it was.
class Player {
public:
    struct Place {
        RecordPtr now;                          // null before the first move
        RecordPtr before;                       // of the same run; null if there is none
        std::optional<std::int64_t> gapMs;      // between the record and the one before it
        std::optional<std::int64_t> gapNextMs;  // and the one behind it
    };

    explicit Player(const std::string& path);

    const Place& place() const { return m_place; }
    // What the history holds now; none of an empty one.
    std::optional<HistorySpan> span();
    // What has to be told about the last move; often empty.
    String takeNotice();

    // Whether there is such a record; else the place stays. Those with a number go so many times as far, or as far as there
    // is anything, and read only what is shown in the end.
    bool at(std::int64_t epochMs);
    bool first();
    bool last();
    bool next(std::uint32_t times);
    bool previous(std::uint32_t times);
    bool nextWait(std::uint32_t times);
    bool previousWait(std::uint32_t times);
    bool nextGap(std::uint32_t times);
    bool previousGap(std::uint32_t times);
    // Whether a record has come behind the place. Reads none.
    bool hasNext();

private:
    std::uint64_t number() const { return m_place.now ? m_place.now->number : 0; }
    RecordPtr nextReadable(std::uint64_t first);
    void tellPassed(RecordRange records);
    template <typename Read>
    RecordPtr readBeyondDamage(Read read);
    RecordPtr readableBefore(std::uint64_t record);
    template <typename Find>
    bool goFar(std::uint32_t times, Find find);
    bool goTo(std::uint64_t record);
    void set(RecordPtr now, RecordPtr previous);
    void takeReaderTo(std::uint64_t record);

    HistoryReader m_reader;
    HistoryWaits m_waits;
    HistoryGaps m_gaps;
    HistoryTables m_tables;
    Place m_place;
    RecordPtr m_previous;          // the record before, of whatever run
    std::uint64_t m_readerAt = 0;  // where the reader is; 0 for unknown
    String m_notice;
};

}  // namespace vexo

#endif
