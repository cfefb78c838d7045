// SPDX-License-Identifier: MIT
// Serves the last record as metrics over HTTP.
#ifndef VEXO_HTTP_METRICSSINK_H
#define VEXO_HTTP_METRICSSINK_H

#include <functional>
#include <optional>
#include <string>

#include "export/MetricsPage.h"
#include "http/HttpServer.h"
#include "sink/Sink.h"

namespace vexo {

// A scrape reads what the last record left and never waits, neither for the engine nor for the recorder.
class MetricsSink : public Sink {
public:
    // Is given a sentence for the user about the port, where the address leaves it open.
    using Notify = std::function<void(const String&)>;
    // The rest is as for MetricsPage.
    MetricsSink(ListenAddress address, std::uint64_t stallMs, SinkHealthSource sinks, Notify notify = {});

    std::string name() const override { return "metrics"; }
    std::optional<RecordPlace> open() override;
    void write(const RecordPtr& record) override { m_page.update(*record); }
    void close() override { m_server.reset(); }

    // The port that is listened on, from open() to close().
    std::uint16_t port() const { return m_server->port(); }

private:
    const ListenAddress m_address;
    const Notify m_notify;
    MetricsPage m_page;
    const Endpoint m_endpoint;
    std::optional<HttpServer> m_server;  // before all that it borrows goes
};

}  // namespace vexo

#endif
