// SPDX-License-Identifier: MIT
// Records as text for programs: NDJSON, one line an item, described in docs/RECORDS.md.
#ifndef VEXO_RECORD_NDJSON_H
#define VEXO_RECORD_NDJSON_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/Exception.h"
#include "record/Record.h"

namespace vexo {

// The version of the form, in every line.
inline constexpr int kNdjsonVersion = 1;

// Which lines tell the record that they belong to.
enum class NdjsonFrame {
    kEveryLine,  // the form for programs: every line can be understood on its own
    kFirstLine,  // for a recording, which keeps a record in one piece: without the times in every line, a record differs
                 // from the one before only where the engine changed, and packs to a tenth
};

// Appends the lines of a record to `out`, each with its line feed. Always strict JSON in UTF-8.
void appendNdjson(std::string& out, const Record& record, NdjsonFrame frame = NdjsonFrame::kEveryLine);

// Appends the lines of `recorded`, which appendNdjson() wrote with kFirstLine, as it writes them with kEveryLine.
void appendNdjsonLines(std::string& out, std::string_view recorded);

// A text is no record. The message names the line and what is wrong with it.
class RecordException : public Exception {
public:
    using Exception::Exception;
};

// Reads records back. Keeps its buffers from one record to the next. For use by one thread.
class NdjsonReader {
public:
    NdjsonReader();
    ~NdjsonReader();
    NdjsonReader(const NdjsonReader&) = delete;
    NdjsonReader& operator=(const NdjsonReader&) = delete;

    // The record at the start of `text`, which is moved behind it. Throws RecordException, and leaves `text` as it is,
    // for anything that is not a whole record of this version and with these frames. Writing what was read gives the same bytes again, if
    // appendNdjson() wrote them. `firstLine` is the number of the first line, for messages.
    Record read(std::string_view& text, std::size_t firstLine = 1, NdjsonFrame frame = NdjsonFrame::kEveryLine);

private:
    struct Parser;
    const std::unique_ptr<Parser> m_parser;
};

}  // namespace vexo

#endif
