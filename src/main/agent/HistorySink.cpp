// SPDX-License-Identifier: MIT
#include "main/agent/HistorySink.h"

#include <utility>

#include "foundation/Encoding.h"
#include "main/agent/ErrorStream.h"

namespace vexo {

HistorySink::HistorySink(std::string path, const HistoryLimits& limits) : m_path(std::move(path)), m_limits(limits) {
}

std::optional<RecordPlace> HistorySink::open() {
    openWriter();
    return RecordPlace{m_writer->nextRun() - 1, m_writer->nextRecord() - 1};
}

void HistorySink::write(const RecordPtr& record) {
    if (!m_writer) openWriter();
    try {
        const auto outcome = m_writer->write(*record);
        m_bytes = m_writer->bytes();
        if (outcome == HistoryWriter::Outcome::kStored) return;
    } catch (const HistoryException&) {
        m_writer.reset();
        throw;
    }
    throw Exception(MessageHelper("AGENT", "AGENT_").getResStr("ERR_NO_ROOM", m_path.c_str()));
}

// Its lock has to be let go before the file can be opened again.
void HistorySink::reopen() {
    m_writer.reset();
    openWriter();
}

void HistorySink::openWriter() {
    m_writer = std::make_unique<HistoryWriter>(m_path, m_limits);
    m_bytes = m_writer->bytes();
    if (!m_writer->notice().empty()) tell(narrow(m_writer->notice()));
}

}  // namespace vexo
