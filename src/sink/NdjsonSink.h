// SPDX-License-Identifier: MIT
// Records as NDJSON in a file, a FIFO, or on standard output.
#ifndef VEXO_SINK_NDJSONSINK_H
#define VEXO_SINK_NDJSONSINK_H

#include <string>

#include "sink/OutputFile.h"
#include "sink/Sink.h"

namespace vexo {

// A record is written at once, with one write where the system takes it whole.
class NdjsonSink : public Sink {
public:
    // `path` as OutputFile takes it.
    explicit NdjsonSink(std::string path);

    std::string name() const override { return "ndjson"; }
    std::optional<RecordPlace> open() override;
    void write(const RecordPtr& record) override;
    void reopen() override { m_file.open(); }
    void close() override { m_file.awaitReader(); }
    std::optional<std::uint64_t> bytes() const override { return m_file.size(); }

private:
    OutputFile m_file;
    std::string m_text;  // of the last record, kept for its memory
};

}  // namespace vexo

#endif
