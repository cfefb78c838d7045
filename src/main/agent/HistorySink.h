// SPDX-License-Identifier: MIT
// Records in a history.
#ifndef VEXO_MAIN_AGENT_HISTORYSINK_H
#define VEXO_MAIN_AGENT_HISTORYSINK_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "history/HistoryWriter.h"
#include "sink/Sink.h"

namespace vexo {

// A history that cannot be written any more is opened anew for the next record.
class HistorySink : public Sink {
public:
    // The history's path, in bytes.
    HistorySink(std::string path, const HistoryLimits& limits);

    std::string name() const override { return "history"; }
    std::string target() const override { return m_path; }
    std::optional<RecordPlace> open() override;
    void write(const RecordPtr& record) override;
    void reopen() override;
    void close() override { m_writer.reset(); }
    std::optional<std::uint64_t> bytes() const override { return m_bytes; }

private:
    void openWriter();

    const std::string m_path;
    const HistoryLimits m_limits;
    std::unique_ptr<HistoryWriter> m_writer;
    std::atomic<std::uint64_t> m_bytes{0};
};

}  // namespace vexo

#endif
