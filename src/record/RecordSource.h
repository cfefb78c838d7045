// SPDX-License-Identifier: MIT
// Where records come from: a live engine or a recording. Views and exports stand on this alone.
#ifndef VEXO_RECORD_RECORDSOURCE_H
#define VEXO_RECORD_RECORDSOURCE_H

#include <cstdint>

#include "record/Record.h"

namespace vexo {

// A place among records that are ordered by their number. For use by one thread. Operations throw an Exception when a
// record cannot be read; the place stays as it was.
class RecordSource {
public:
    virtual ~RecordSource() = default;

    // Goes to the last record that began at or before `epochMs` (UTC, milliseconds since 1970), or to the first one when
    // all are later. Null when there is none at all.
    virtual RecordPtr at(std::int64_t epochMs) = 0;
    // Goes to the record behind the place, or to the first one before any was asked for. Null, and no move, where none
    // has come yet.
    virtual RecordPtr next() = 0;
    // Goes to the record before the place. Null, and no move, at the first one.
    virtual RecordPtr previous() = 0;
};

}  // namespace vexo

#endif
