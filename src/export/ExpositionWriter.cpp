// SPDX-License-Identifier: MIT
#include "export/ExpositionWriter.h"

#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>
#include <utility>

#include "record/JsonText.h"

namespace vexo {
namespace {

std::string_view endingOf(MetricType type) {
    switch (type) {
        case MetricType::kCounter:
            return "_total";
        case MetricType::kInfo:
            return "_info";
        case MetricType::kGauge:
            break;
    }
    return {};
}

// The text format knows no info: it is a gauge of 1.
std::string_view wordOf(MetricType type, ExpositionFormat format) {
    if (type == MetricType::kCounter) return "counter";
    return type == MetricType::kInfo && format == ExpositionFormat::kOpenMetrics ? "info" : "gauge";
}

// Both formats are UTF-8 and escape these three. A carriage return means nothing to them, but tools that read lines
// break at it.
void appendLabelValue(std::string& out, std::string_view bytes) {
    for (const char c : isUtf8(bytes) ? std::string(bytes) : replacedText(bytes)) {
        if (c == '\n') {
            out += "\\n";
        } else if (c == '"' || c == '\\') {
            out.append("\\").append(1, c);
        } else {
            out += c == '\r' ? ' ' : c;
        }
    }
}

template <typename Number>
void appendNumber(std::string& out, Number value) {
    std::array<char, 400> digits;  // a double without exponent has up to 309 places before the point
    char* const first = digits.data();
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isinf(value)) {
            out += value > 0 ? "+Inf" : "-Inf";
            return;
        }
        out.append(first, std::to_chars(first, first + digits.size(), value, std::chars_format::fixed).ptr);
    } else {
        out.append(first, std::to_chars(first, first + digits.size(), value).ptr);
    }
}

}  // namespace

std::string_view contentTypeOf(ExpositionFormat format) {
    return format == ExpositionFormat::kOpenMetrics ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                                                    : "text/plain; version=0.0.4; charset=utf-8";
}

ExpositionWriter::ExpositionWriter(ExpositionFormat format, std::string_view server) : m_format(format) {
    constexpr std::size_t kUsualSize = 16384;
    m_out.reserve(kUsualSize);
    if (server.empty()) return;
    m_serverLabel = "server=\"";
    appendLabelValue(m_serverLabel, server);
    m_serverLabel += '"';
}

void ExpositionWriter::begin(const MetricFamily& family) {
    m_sampleName.assign(family.name).append(endingOf(family.type));
    const bool openMetrics = m_format == ExpositionFormat::kOpenMetrics;
    m_familyName = openMetrics ? std::string(family.name) : m_sampleName;
    comment("HELP", family.help);
    comment("TYPE", wordOf(family.type, m_format));
    if (openMetrics && !family.unit.empty()) comment("UNIT", family.unit);
}

void ExpositionWriter::comment(std::string_view keyword, std::string_view text) {
    m_out.append("# ").append(keyword).append(" ").append(m_familyName).append(" ").append(text).append("\n");
}

void ExpositionWriter::startSample(std::string_view label, std::string_view labelValue) {
    m_out += m_sampleName;
    if (label.empty() && m_serverLabel.empty()) return;
    m_out.append("{").append(m_serverLabel);
    if (!label.empty()) {
        if (!m_serverLabel.empty()) m_out += ',';
        m_out.append(label).append("=\"").append(labelValue).append("\"");
    }
    m_out += '}';
}

template <typename Number>
void ExpositionWriter::endSample(Number value) {
    m_out += ' ';
    appendNumber(m_out, value);
    m_out += '\n';
}

void ExpositionWriter::sample(std::string_view label, std::string_view labelValue, std::uint64_t value) {
    startSample(label, labelValue);
    endSample(value);
}

void ExpositionWriter::sample(std::string_view label, std::string_view labelValue, std::int64_t value) {
    startSample(label, labelValue);
    endSample(value);
}

void ExpositionWriter::sample(std::string_view label, std::string_view labelValue, double value) {
    startSample(label, labelValue);
    endSample(value);
}

std::string ExpositionWriter::finish() {
    if (m_format == ExpositionFormat::kOpenMetrics) m_out += "# EOF\n";
    return std::move(m_out);
}

}  // namespace vexo
