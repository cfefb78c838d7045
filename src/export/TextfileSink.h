// SPDX-License-Identifier: MIT
// Keeps a file of metrics up to date.
#ifndef VEXO_EXPORT_TEXTFILESINK_H
#define VEXO_EXPORT_TEXTFILESINK_H

#include <string>

#include "export/MetricsPage.h"
#include "export/Textfile.h"
#include "sink/Sink.h"

namespace vexo {

// Writes the file with every record. It stays when the recorder ends; its time and vexo_last_record_timestamp_seconds
// tell its age.
class TextfileSink : public Sink {
public:
    // `path` and `server`, which becomes the label of this name, are bytes; the rest is as for MetricsPage.
    TextfileSink(std::string path, std::string server, std::uint64_t stallMs, SinkHealthSource sinks);

    std::string name() const override { return "textfile"; }
    std::optional<RecordPlace> open() override;
    void write(const RecordPtr& record) override;

private:
    void replace();

    Textfile m_file;
    const std::string m_server;
    MetricsPage m_page;
};

}  // namespace vexo

#endif
