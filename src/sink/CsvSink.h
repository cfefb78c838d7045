// SPDX-License-Identifier: MIT
// Records as CSV files in a directory.
#ifndef VEXO_SINK_CSVSINK_H
#define VEXO_SINK_CSVSINK_H

#include <deque>
#include <string>

#include "sink/CsvText.h"
#include "sink/OutputFile.h"
#include "sink/Sink.h"

namespace vexo {

// One file for each kind of line, such as session.csv.
class CsvSink : public Sink {
public:
    // The directory, in bytes; it is created when missing, those above it are not.
    CsvSink(std::string directory, CsvFormulas formulas);

    std::string name() const override { return "csv"; }
    std::optional<RecordPlace> open() override;
    // All files take their rows, or none of those that can be cut.
    void write(const RecordPtr& record) override;
    void reopen() override;
    std::optional<std::uint64_t> bytes() const override;

private:
    const std::string m_directory;
    CsvText m_text;
    std::deque<OutputFile> m_files;
};

}  // namespace vexo

#endif
