// SPDX-License-Identifier: MIT
#include "export/TextfileSink.h"

#include <utility>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "messages/MessageHelper.h"

namespace vexo {

TextfileSink::TextfileSink(std::string path, std::string server, std::uint64_t stallMs, SinkHealthSource sinks)
    : m_file(std::move(path)), m_server(std::move(server)), m_page(stallMs, std::move(sinks)) {
}

// A path that cannot be written is found at the start. Until the first record the file says that the engine is down.
std::optional<RecordPlace> TextfileSink::open() {
    replace();
    return {};
}

void TextfileSink::write(const RecordPtr& record) {
    m_page.update(*record);
    replace();
}

void TextfileSink::replace() {
    try {
        m_file.replace(m_page.render(ExpositionFormat::kText, m_server));
    } catch (const StreamException& error) {
        const String reason = systemReason(error.errorNumber());
        throw Exception(
            MessageHelper("VEXO", "VEXO_").getResStr("ERR_WRITE", m_file.path().c_str(), narrow(reason).c_str()));
    }
}

}  // namespace vexo
