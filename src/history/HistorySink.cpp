// SPDX-License-Identifier: MIT
#include "history/HistorySink.h"

#include <utility>

namespace vexo {

HistorySink::HistorySink(std::string path, const HistoryLimits& limits, Notify notify)
    : m_path(std::move(path)), m_limits(limits), m_notify(std::move(notify)) {
}

std::optional<RecordPlace> HistorySink::open() {
    openWriter();
    return RecordPlace{m_writer->nextRun() - 1, m_writer->nextRecord() - 1};
}

void HistorySink::write(const RecordPtr& record) {
    if (!m_writer) openWriter();
    try {
        const HistoryWriter::Outcome outcome = m_writer->write(*record);
        m_bytes = m_writer->bytes();
        if (outcome == HistoryWriter::Outcome::kStored) return;
    } catch (const HistoryException&) {
        m_writer.reset();
        m_isSuspect = true;
        throw;
    }
    throw HistoryException(historyMessage("ERR_HISTORY_ROOM", m_path.c_str()));
}

void HistorySink::reopen() {
    m_writer.reset();
    openWriter();
}

void HistorySink::openWriter() {
    using Inspection = WritableHistory::Inspection;
    m_writer.emplace(m_path, m_limits, m_isSuspect ? Inspection::kWhole : Inspection::kQuick);
    m_isSuspect = false;
    m_bytes = m_writer->bytes();
    if (!m_writer->notice().empty()) m_notify(m_writer->notice());
}

}  // namespace vexo
