// SPDX-License-Identifier: MIT
// The text in which Prometheus and its relatives read metrics.
#ifndef VEXO_EXPORT_EXPOSITIONWRITER_H
#define VEXO_EXPORT_EXPOSITIONWRITER_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vexo {

enum class ExpositionFormat : std::uint8_t {
    kText,         // text format 0.0.4
    kOpenMetrics,  // OpenMetrics 1.0
};

// The media type of the format, for HTTP.
std::string_view contentTypeOf(ExpositionFormat format);

enum class MetricType : std::uint8_t { kGauge, kCounter, kInfo };

// What is said once of all samples of a name.
struct MetricFamily {
    std::string_view name;  // without the ending _total of counters and _info
    std::string_view help;  // one line without a backslash
    MetricType type = MetricType::kGauge;
    std::string_view unit = {};  // the end of the name, where there is one
};

// Writes families with their samples behind them. The label that is common to all samples, `server`, may be any bytes;
// every other label has to be a word that needs no escapes.
class ExpositionWriter {
public:
    // Without a server there is no label of this name.
    explicit ExpositionWriter(ExpositionFormat format, std::string_view server = {});

    // Begins a family; samples that follow belong to it.
    void begin(const MetricFamily& family);
    void sample(std::uint64_t value) { sample({}, {}, value); }
    void sample(std::int64_t value) { sample({}, {}, value); }
    void sample(double value) { sample({}, {}, value); }
    void sample(std::string_view label, std::string_view labelValue, std::uint64_t value);
    void sample(std::string_view label, std::string_view labelValue, std::int64_t value);
    void sample(std::string_view label, std::string_view labelValue, double value);

    // The whole text; the writer is used up.
    std::string finish();

private:
    void comment(std::string_view keyword, std::string_view text);
    void startSample(std::string_view label, std::string_view labelValue);
    template <typename Number>
    void endSample(Number value);

    const ExpositionFormat m_format;
    std::string m_serverLabel;  // such as server="shop"; empty without one
    std::string m_sampleName;   // of the family
    std::string m_familyName;   // as the format spells it
    std::string m_out;
};

}  // namespace vexo

#endif
