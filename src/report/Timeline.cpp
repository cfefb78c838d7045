// SPDX-License-Identifier: MIT
// Gaps, waits and events on one axis of time.
#include <algorithm>

#include "report/PageParts.h"

namespace vexo {
namespace {

// The width of the drawing in its own units; a bar is at least one of them wide.
constexpr double kWidth = 2000;

void beginLane(std::string& out, std::string_view label, std::string_view note, std::string_view className) {
    out += "<div class=\"lane\"><div class=\"label\">" + std::string(label);
    if (!note.empty()) out += " <small>" + std::string(note) + "</small>";
    out += "</div><div class=\"area " + std::string(className) + "\">";
}

void endLane(std::string& out) {
    out += "</div></div>\n";
}

void appendBars(std::string& out, const TimeSpan& span, const WaitLane& lane) {
    std::string path;
    long end = -1;
    for (const WaitBar& bar : lane.bars) {
        const auto left = static_cast<long>(span.share(bar.startMs) * kWidth);
        const auto right = std::max(static_cast<long>(span.share(bar.endMs) * kWidth), left + 1);
        if (right <= end) continue;
        const long from = std::max(left, end);
        path += 'M' + std::to_string(from) + " 1h" + std::to_string(right - from) + "v8H" + std::to_string(from) + 'z';
        end = right;
    }
    out += "<svg viewBox=\"0 0 2000 10\" preserveAspectRatio=\"none\" aria-hidden=\"true\"><path class=\"wait\" d=\"" +
           path + "\"/></svg>";
}

// Events that would lie upon each other are one mark.
void appendMarks(std::string& out, const PageContext& page) {
    constexpr double kApart = 0.004;
    double last = -1;
    for (const std::int64_t startMs : page.data.eventTimes) {
        const double share = page.span.share(startMs);
        if (share - last < kApart) continue;
        last = share;
        out += "<span class=\"mark\" style=\"left:" + page.span.percent(startMs) + "\">◆</span>";
    }
}

}  // namespace

void appendTimeline(std::string& out, const PageContext& page) {
    const auto& [data, text, span] = page;
    const HtmlSection section(out, text, "timeline", "TIMELINE");
    appendParagraph(out, text.text("TIMELINE_NOTE"), "note");
    out += "<div class=\"timeline\" role=\"img\" aria-label=\"" + text.text("TIMELINE_LABEL") + "\">\n";
    beginLane(out, text.text("GAPS"), data.gaps.items.empty() ? "" : text.duration(data.gapsMs), "thin");
    appendGaps(out, span, data.gaps.items);
    endLane(out);
    beginLane(out, text.text("EVENTS"), text.number(data.events.all), "thin");
    appendMarks(out, page);
    endLane(out);
    for (const WaitLane& lane : data.lanes) {
        const std::string label = lane.file.empty() ? text.text("OTHER_FILES") : nameHtml(lane.file);
        beginLane(
            out, label,
            text.counted(lane.totalMs == 0 ? "LANE_ONCE" : "LANE_WAITS", lane.count, {text.duration(lane.totalMs)}),
            "");
        appendBars(out, span, lane);
        appendGaps(out, span, data.gaps.items);
        endLane(out);
    }
    out += "<div class=\"lane\"><div class=\"label\"></div><div class=\"axis\">";
    appendTimeLabels(out, span);
    out += "</div></div>\n</div>\n";
}

}  // namespace vexo
