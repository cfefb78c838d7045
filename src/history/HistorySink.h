// SPDX-License-Identifier: MIT
// The history as a sink of the recorder.
#ifndef VEXO_HISTORY_HISTORYSINK_H
#define VEXO_HISTORY_HISTORYSINK_H

#include <atomic>
#include <functional>
#include <optional>
#include <string>

#include "history/HistoryWriter.h"
#include "sink/Sink.h"

namespace vexo {

class HistorySink : public Sink {
public:
    // Is given a sentence for the user when a history was set aside; on the thread that opened it.
    using Notify = std::function<void(const String&)>;
    HistorySink(std::string path, const HistoryLimits& limits, Notify notify);

    std::string name() const override { return "history"; }
    std::optional<RecordPlace> open() override;
    // Also throws where there is no room. After another failure the history is opened anew with the next record.
    void write(const RecordPtr& record) override;
    void reopen() override;
    void close() override { m_writer.reset(); }
    std::optional<std::uint64_t> bytes() const override { return m_bytes.load(); }

private:
    void openWriter();

    const std::string m_path;
    const HistoryLimits m_limits;
    const Notify m_notify;
    std::optional<HistoryWriter> m_writer;
    bool m_isSuspect = false;  // it could not be written
    std::atomic<std::uint64_t> m_bytes{0};
};

}  // namespace vexo

#endif
