// SPDX-License-Identifier: MIT
#include "sink/NdjsonSink.h"

#include <utility>

#include "record/Ndjson.h"

namespace vexo {

NdjsonSink::NdjsonSink(std::string path) : m_file(std::move(path)) {
}

std::optional<RecordPlace> NdjsonSink::open() {
    m_file.open();
    return {};
}

void NdjsonSink::write(const RecordPtr& record) {
    m_text.clear();
    appendNdjson(m_text, *record);
    m_file.append(m_text);
}

}  // namespace vexo
