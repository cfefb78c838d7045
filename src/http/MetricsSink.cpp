// SPDX-License-Identifier: MIT
#include "http/MetricsSink.h"

#include <utility>

namespace vexo {

MetricsSink::MetricsSink(ListenAddress address, std::uint64_t stallMs, SinkHealthSource sinks)
    : m_address(std::move(address)), m_page(stallMs, std::move(sinks)), m_endpoint(m_page) {
}

std::optional<RecordPlace> MetricsSink::open() {
    m_server.emplace(m_address, m_endpoint);
    return {};
}

}  // namespace vexo
