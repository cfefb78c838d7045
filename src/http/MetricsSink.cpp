// SPDX-License-Identifier: MIT
#include "http/MetricsSink.h"

#include <string>
#include <utility>

#include "messages/MessageHelper.h"

namespace vexo {

MetricsSink::MetricsSink(ListenAddress address, std::uint64_t stallMs, SinkHealthSource sinks, Notify notify)
    : m_address(std::move(address)),
      m_notify(std::move(notify)),
      m_page(stallMs, std::move(sinks)),
      m_endpoint(m_page) {
}

std::optional<RecordPlace> MetricsSink::open() {
    m_server.emplace(m_address, m_endpoint);
    if (m_notify && m_address.takesAnyPort()) {
        const std::string port = std::to_string(m_server->port());
        m_notify(MessageHelper("AGENT", "AGENT_").getResStr("INFO_PORT", port.c_str()));
    }
    return {};
}

}  // namespace vexo
