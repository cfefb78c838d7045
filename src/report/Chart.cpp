// SPDX-License-Identifier: MIT
#include "report/Chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "report/PageParts.h"
#include "report/TimeAxis.h"

namespace vexo {
namespace {

// Heights within the SVG.
constexpr double kHeight = 1000;
constexpr std::size_t kTimeTicks = 9;
constexpr std::size_t kTableRows = 97;
// A limit this far beyond the values would press them against the axis; the caption tells it instead.
constexpr double kFarLimit = 3;

std::string fixed(double value, int digits) {
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, value);
    return buffer.data();
}

// Consecutive buckets, [first, last), to be drawn in one go.
struct Stretch {
    std::size_t first;
    std::size_t last;
};

// A bucket without a measurement goes on with the one before where the next measurement is as near as it should be.
std::vector<Stretch> stretchesOf(const SeriesData& series) {
    const auto& buckets = series.buckets.buckets();
    const auto bridged = static_cast<std::size_t>(series.bridgeMs / series.buckets.stepMs());
    std::vector<Stretch> stretches;
    for (std::size_t place = 0; place < buckets.size(); ++place) {
        if (buckets[place].count == 0) continue;
        if (!stretches.empty() && place - stretches.back().last <= bridged) {
            stretches.back().last = place + 1;
        } else {
            stretches.push_back({place, place + 1});
        }
    }
    return stretches;
}

// Draws steps; everything is relative and whole, which keeps it short.
class StepPath {
public:
    StepPath(const std::vector<Statistics>& buckets, double top) : m_buckets(buckets), m_top(top) {}

    int height(double value) const {
        return static_cast<int>(std::lround(kHeight - kHeight * std::min(value / m_top, 1.0)));
    }
    // From the left of `stretch` to its right, at the heights of `value`.
    template <typename Value>
    void forward(std::string& path, const Stretch& stretch, Value value) const {
        int y = height(value(m_buckets[stretch.first]));
        path += 'M' + std::to_string(stretch.first) + ' ' + std::to_string(y);
        std::size_t wide = 0;
        for (std::size_t place = stretch.first; place < stretch.last; ++place) {
            const int next = m_buckets[place].count == 0 ? y : height(value(m_buckets[place]));
            moveTo(path, wide, y, next, 1);
            ++wide;
        }
        path += 'h' + std::to_string(wide);
    }
    // Back again.
    template <typename Value>
    void backward(std::string& path, const Stretch& stretch, Value value) const {
        std::size_t last = stretch.last - 1;  // never empty: a stretch ends with a measurement
        int y = height(value(m_buckets[last]));
        path += 'V' + std::to_string(y);
        std::size_t wide = 0;
        for (std::size_t place = stretch.last; place-- > stretch.first;) {
            // What is empty shows the bucket before it.
            std::size_t shown = place;
            while (m_buckets[shown].count == 0)
                --shown;
            moveTo(path, wide, y, height(value(m_buckets[shown])), -1);
            ++wide;
        }
        path += "h-" + std::to_string(wide) + 'z';
    }

private:
    static void moveTo(std::string& path, std::size_t& wide, int& y, int next, int direction) {
        if (next == y) return;
        if (wide > 0) path += (direction < 0 ? "h-" : "h") + std::to_string(wide);
        path += 'v' + std::to_string(next - y);
        wide = 0;
        y = next;
    }

    const std::vector<Statistics>& m_buckets;
    const double m_top;
};

void appendDrawing(std::string& out, const SeriesData& series, const std::vector<double>& ticks,
                   std::optional<double> limit) {
    const auto& buckets = series.buckets.buckets();
    const StepPath steps(buckets, ticks.back());
    const std::string width = std::to_string(buckets.size());
    std::string grid;
    for (const double tick : ticks)
        grid += "M0 " + std::to_string(steps.height(tick)) + 'H' + width;
    std::string band;
    std::string line;
    for (const Stretch& stretch : stretchesOf(series)) {
        steps.forward(band, stretch, [](const Statistics& bucket) { return bucket.greatest; });
        steps.backward(band, stretch, [](const Statistics& bucket) { return bucket.least; });
        steps.forward(line, stretch, [](const Statistics& bucket) { return bucket.mean(); });
    }
    out += "<path class=\"grid\" d=\"" + grid + "\"/>";
    if (!band.empty()) out += "<path class=\"band\" d=\"" + band + "\"/><path class=\"mean\" d=\"" + line + "\"/>";
    if (limit) out += "<path class=\"limit\" d=\"M0 " + std::to_string(steps.height(*limit)) + 'H' + width + "\"/>";
}

std::string captionOf(const ReportText& text, Quantity quantity, const SeriesData& series) {
    const Statistics& all = series.all;
    if (all.count == 0) return text.text("CHART_NOTHING");
    std::string caption =
        text.text("CHART_CAPTION", {text.amount(quantity, all.least), text.amount(quantity, all.mean()),
                                    text.amount(quantity, all.greatest), text.instant(all.greatestAtMs)});
    if (series.limit) caption += ' ' + text.text("CHART_LIMIT", {text.amount(quantity, *series.limit)});
    if (series.isSampled) caption += ' ' + text.text("CHART_SAMPLED");
    return caption;
}

TickSteps stepsOf(Quantity quantity) {
    if (quantity == Quantity::kBytes) return TickSteps::kBinary;
    return quantity == Quantity::kCount ? TickSteps::kWhole : TickSteps::kDecimal;
}

// The same without tags, for a title.
std::string withoutTags(std::string_view html) {
    std::string plain;
    bool isInside = false;
    for (const char character : html) {
        if (character == '<') isInside = true;
        if (!isInside) plain += character;
        if (character == '>') isInside = false;
    }
    return plain;
}

void appendNumbers(std::string& out, const ReportText& text, std::string_view id, Quantity quantity,
                   const SeriesData& series) {
    const Buckets& buckets = series.buckets;
    const std::int64_t step = stepForTicks(buckets.endMs() - buckets.startMs(), kTableRows, buckets.stepMs());
    std::vector<std::int64_t> starts = roundTimes(buckets.startMs(), buckets.endMs() - 1, step);
    if (starts.empty() || starts.front() != buckets.startMs()) starts.insert(starts.begin(), buckets.startMs());
    std::vector<Statistics> rows(starts.size());
    for (std::size_t place = 0; place < buckets.buckets().size(); ++place) {
        const std::int64_t at = buckets.startMs() + buckets.stepMs() * static_cast<std::int64_t>(place);
        const auto row = std::upper_bound(starts.begin(), starts.end(), at) - starts.begin() - 1;
        rows[static_cast<std::size_t>(row)].add(buckets.buckets()[place]);
    }
    out += "<details><summary>" + text.text("CHART_NUMBERS") + "</summary>";
    {
        HtmlTable table(out, text, std::string(id) + "-numbers", id,
                        {
                            {"COLUMN_FROM",     Cells::kText   },
                            {"COLUMN_LEAST",    Cells::kNumbers},
                            {"COLUMN_MEAN",     Cells::kNumbers},
                            {"COLUMN_GREATEST", Cells::kNumbers}
        });
        for (std::size_t place = 0; place < rows.size(); ++place) {
            const Statistics& row = rows[place];
            const auto written = [&](double value) { return row.count == 0 ? "–" : text.amount(quantity, value); };
            table.row({text.instant(starts[place]), written(row.least), written(row.mean()), written(row.greatest)});
        }
    }
    out += "</details>";
}

}  // namespace

double TimeSpan::share(std::int64_t epochMs) const {
    const double length = std::max(static_cast<double>(endMs - startMs), 1.0);
    return std::clamp(static_cast<double>(epochMs - startMs) / length, 0.0, 1.0);
}

std::string TimeSpan::percent(std::int64_t epochMs) const {
    constexpr double kAll = 100;
    return fixed(share(epochMs) * kAll, 3) + '%';
}

void appendTimeLabels(std::string& out, const TimeSpan& span) {
    constexpr double kNearEnd = 0.94;  // a label there would leave the drawing
    constexpr double kNearStart = 0.05;
    out += "<div class=\"x\" aria-hidden=\"true\">";
    std::size_t place = 0;
    for (const TimeTick& tick : timeTicks(span.startMs, span.endMs, kTimeTicks)) {
        const double share = span.share(tick.epochMs);
        const char* const side = share > kNearEnd ? " end" : share < kNearStart ? " start" : "";
        const bool isMinor = place++ % 2 == 1 && tick.date.empty() && tick.zone.empty();
        out += std::string("<span class=\"t") + side + (isMinor ? " minor" : "") +
               "\" style=\"left:" + span.percent(tick.epochMs) + "\">" + escaped(tick.time);
        for (const std::string& line : {tick.date, tick.zone})
            if (!line.empty()) out += "<br/><small>" + escaped(line) + "</small>";
        out += "</span>";
    }
    out += "</div>";
}

void appendGaps(std::string& out, const TimeSpan& span, const std::vector<ReportGap>& gaps) {
    for (const ReportGap& gap : gaps) {
        constexpr double kAll = 100;
        const double width = std::max(span.share(gap.endMs) - span.share(gap.startMs), 0.0) * kAll;
        out +=
            "<div class=\"gap\" style=\"left:" + span.percent(gap.startMs) + ";width:" + fixed(width, 3) + "%\"></div>";
    }
}

void appendChart(std::string& out, const ReportText& text, std::string_view id, std::string_view key, Quantity quantity,
                 const SeriesData& series, const std::vector<ReportGap>& gaps) {
    const TimeSpan span = {series.buckets.startMs(), series.buckets.endMs()};
    const bool showsLimit = series.limit && *series.limit > 0 && *series.limit <= series.all.greatest * kFarLimit;
    const double top = std::max(series.all.greatest, showsLimit ? *series.limit : 0.0);
    const std::vector<double> ticks = valueTicks(top, stepsOf(quantity));
    const std::string caption = captionOf(text, quantity, series);
    const std::string name(id);
    out += "<figure id=\"" + name + "\"><figcaption><h3 id=\"" + name + "-heading\">" + text.text(key) + "</h3><p>" +
           caption + "</p></figcaption>";
    if (series.all.count == 0) {
        out += "</figure>";
        return;
    }
    out += "<div class=\"plot\"><div class=\"y\" aria-hidden=\"true\">";
    for (const double tick : ticks)
        out += "<span style=\"bottom:" + fixed(tick / ticks.back() * 100, 2) + "%\">" +
               (quantity == Quantity::kPerSecond ? text.number(tick) : text.amount(quantity, tick)) + "</span>";
    out += "</div><div class=\"area\"><svg viewBox=\"0 0 " + std::to_string(series.buckets.buckets().size()) + ' ' +
           fixed(kHeight, 0) + "\" preserveAspectRatio=\"none\" role=\"img\" aria-labelledby=\"" + name + "-t " + name +
           "-d\"><title id=\"" + name + "-t\">" + text.text(key) + "</title><desc id=\"" + name + "-d\">" +
           withoutTags(caption) + "</desc>";
    appendDrawing(out, series, ticks, showsLimit ? series.limit : std::nullopt);
    out += "</svg>";
    appendGaps(out, span, gaps);
    if (showsLimit) {
        out += "<span class=\"limit-label\" aria-hidden=\"true\" style=\"bottom:" +
               fixed(*series.limit / ticks.back() * 100, 2) + "%\">" +
               text.text("LIMIT_LABEL", {text.amount(quantity, *series.limit)}) + "</span>";
    }
    out += "</div>";
    appendTimeLabels(out, span);
    out += "</div>";
    appendNumbers(out, text, id, quantity, series);
    out += "</figure>";
}

}  // namespace vexo
