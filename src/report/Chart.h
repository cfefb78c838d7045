// SPDX-License-Identifier: MIT
// Drawings over time: HTML around an SVG that is as wide as the page lets it be, while its labels keep their size.
#ifndef VEXO_REPORT_CHART_H
#define VEXO_REPORT_CHART_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "report/ReportData.h"
#include "report/ReportText.h"

namespace vexo {

// The instants at the left and the right end of a drawing.
struct TimeSpan {
    std::int64_t startMs = 0;
    std::int64_t endMs = 0;

    double share(std::int64_t epochMs) const;
    // Where an instant lies, as a percentage of the width.
    std::string percent(std::int64_t epochMs) const;
};

// The band from least to greatest, the mean as a line, the limit as a broken one, the gaps hatched, and the numbers in a
// table that unfolds. `id` is for links.
void appendChart(std::string& out, const ReportText& text, std::string_view id, std::string_view key, Quantity quantity,
                 const SeriesData& series, const std::vector<ReportGap>& gaps);

// The labels below a drawing.
void appendTimeLabels(std::string& out, const TimeSpan& span);
// A hatched stretch for each gap.
void appendGaps(std::string& out, const TimeSpan& span, const std::vector<ReportGap>& gaps);

}  // namespace vexo

#endif
