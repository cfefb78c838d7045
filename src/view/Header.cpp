// SPDX-License-Identifier: MIT
#include "view/Header.h"

#include <algorithm>

#include "record/PointInTime.h"

namespace vexo {
namespace {

constexpr int kBetween = 2;
constexpr const char* kDashes = "-- ";  // before what a rule tells

int widthOf(const std::vector<Piece>& pieces) {
    int width = -kBetween;
    for (const Piece& piece : pieces)
        width += vexo::widthOf(piece.text) + kBetween;
    return width;
}

std::string withReason(const std::string& sentence, const std::string& reason) {
    return reason.empty() ? sentence : sentence + ": " + screenText(reason);
}

std::string amountText(const Amount& amount) {
    return std::to_string(amount.current) + (amount.limit == 0 ? "" : "/" + std::to_string(amount.limit));
}

void addUsage(std::vector<Piece>& pieces, const Facts& facts) {
    const auto& usage = facts.now().usage;
    if (!usage) return;
    const auto add = [&](const char* key, const std::string& value, int rank) {
        pieces.push_back({facts.texts()[key] + " " + value, Style::kPlain, rank});
    };
    add("TOTAL_UP", shownDuration(static_cast<double>(usage->uptimeSeconds) * 1000), 6);
    add("TOTAL_SESSIONS", amountText(usage->sessions), 4);
    add("TOTAL_FILES", amountText(usage->files), 7);
    add("TOTAL_HANDLES", amountText(usage->handles), 7);
    add("TOTAL_LOCKS", std::to_string(usage->locks.current), 5);
    add("TOTAL_TRANSACTIONS", amountText(usage->transactions), 5);
}

void addEvents(std::vector<Piece>& pieces, const Facts& facts) {
    for (const EventItem& event : facts.now().events)
        if (event.kind != EventKind::kStarted && event.kind != EventKind::kConnected)
            pieces.push_back({screenText(event.text), Style::kGap, 8});
}

// How many wait, in every view, and the longest of them; empty where nobody does.
std::string waitsText(const Facts& facts) {
    if (!facts.hasRecord() || facts.now().waits.empty()) return {};
    const auto& waits = facts.now().waits;
    const auto longest = std::max_element(waits.begin(), waits.end(), [](const WaitItem& left, const WaitItem& right) {
        return left.waitedMs < right.waitedMs;
    });
    const std::string duration = ">=" + shownWholeSeconds(static_cast<double>(longest->waitedMs));
    return facts.texts().format("TOTAL_WAITS", std::to_string(waits.size()), duration);
}

// What a level of handles belongs to.
std::string ownerText(const Facts& facts, const Level& level) {
    const Anchor& owner = *level.owner();
    const Record& record = *owner.record;
    const bool isFile = level.sheet().section == Section::kFiles;
    const NameId name = isFile ? record.files[owner.item].name : record.sessions[owner.item].name;
    return facts.texts()[level.sheet().title] + " " + screenText(record.name(name));
}

// A section's failure, or that nobody asked for it.
std::string sectionText(const Facts& facts, Section section) {
    const Texts& texts = facts.texts();
    const SectionResult& result = facts.now().section(section);
    if (result.state == SectionState::kWhole) return {};
    const std::string& name = texts.ofWord("SECTION_", wordOf(section));
    if (result.state == SectionState::kOff) return name + ": " + texts["SECTION_OFF"];
    return withReason(name + ": " + texts["SECTION_FAILED"], result.text);
}

std::string scopeText(const Facts& facts, const Level& level) {
    const Texts& texts = facts.texts();
    const bool isOfHandles = level.owner().has_value();
    switch (facts.now().scope) {
        case HandleScope::kNone:
            return isOfHandles || level.sheet().isTree ? texts["SCOPE_NONE"] : std::string();
        case HandleScope::kNoted:
            return isOfHandles ? texts["SCOPE_NOTED"] : std::string();
        default:
            return {};
    }
}

std::string emptyText(const Facts& facts, const Level& level) {
    const Texts& texts = facts.texts();
    if (!level.arrangement().filter.empty()) return texts["NO_MATCH"];
    if (facts.now().scope == HandleScope::kNone && level.sheet().isTree) return {};
    return level.sheet().isTree ? texts["NO_WAITS"] : texts["NO_ROWS"];
}

}  // namespace

Line lineOf(std::vector<Piece> pieces, int columns, const Piece& last) {
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(), [](const Piece& piece) { return piece.text.empty(); }),
                 pieces.end());
    const int room = last.text.empty() ? columns : columns - vexo::widthOf(last.text) - kBetween;
    while (pieces.size() > 1 && widthOf(pieces) > room) {
        pieces.erase(std::max_element(pieces.begin(), pieces.end(),
                                      [](const Piece& left, const Piece& right) { return left.rank <= right.rank; }));
    }
    Line line;
    int used = 0;
    for (const Piece& piece : pieces) {
        if (!line.empty()) line.push_back({std::string(kBetween, ' '), Style::kPlain});
        line.push_back({cutTo(piece.text, room, Cut::kEnd), piece.style});
        used += vexo::widthOf(line.back().text) + (line.size() > 1 ? kBetween : 0);
    }
    if (last.text.empty()) return line;
    line.push_back({rightIn("", std::max(columns - used - vexo::widthOf(last.text), 0)), Style::kPlain});
    line.push_back({cutTo(last.text, columns, Cut::kEnd), last.style});
    return line;
}

std::string linkText(const Texts& texts, const Situation& situation) {
    const auto since = [&](const char* key) {
        return withReason(texts.format(key, shownClock(situation.linkSinceMs)), situation.reason);
    };
    switch (situation.link) {
        case Situation::Link::kConnecting:
            return withReason(texts["CONNECTING"], situation.reason);
        case Situation::Link::kLost:
            return since("LOST");
        case Situation::Link::kStalled:
            return since("STALLED");
        default:
            return {};
    }
}

std::string titleOf(const Texts& texts, ViewName view) {
    constexpr const char* kTitles[] = {"FILES", "WAITS", "SESSIONS", "CONNECTIONS", "USAGE", "COMMUNICATIONS"};
    const auto place = static_cast<std::size_t>(view);
    return "[" + std::to_string(place + 1) + "] " + texts[kTitles[place]];
}

Line firstHeaderLine(const Facts& facts, const Situation& situation, ViewName view, int columns) {
    const Texts& texts = facts.texts();
    std::vector<Piece> pieces;
    pieces.push_back({texts[situation.isReplay ? "REPLAY" : "LIVE"], Style::kStrong, 0});
    if (facts.hasRecord()) {
        pieces.back().text += " " + localTime(facts.now().epochMs);
        pieces.push_back({texts["RECORD"] + " " + std::to_string(facts.now().number), Style::kPlain, 5});
    }
    if (situation.intervalMs > 0) {
        pieces.push_back({shownDuration(static_cast<double>(situation.intervalMs)), Style::kPlain, 6});
    }
    pieces.push_back({titleOf(texts, view), Style::kStrong, 2});
    Piece last;
    if (situation.isPaused) last = {texts["PAUSED"], Style::kStrong, 0};
    if (situation.isFollowing && !situation.isPaused) last = {texts["AT_END"], Style::kPlain, 0};

    const int beside = widthOf(pieces) + (last.text.empty() ? 0 : vexo::widthOf(last.text) + kBetween);
    constexpr int kLeast = 8;
    const std::string server = situation.server.empty() ? texts["LOCAL"] : screenText(situation.server);
    const int room = std::max(columns - beside - kBetween, kLeast);
    pieces.insert(pieces.begin(), {cutTo(server, room, Cut::kMiddle), Style::kStrong, 3});
    return lineOf(std::move(pieces), columns, last);
}

Line secondHeaderLine(const Facts& facts, const Situation& situation, int columns) {
    const Texts& texts = facts.texts();
    const auto duration = [](std::int64_t millis) { return shownDuration(static_cast<double>(millis)); };
    std::vector<Piece> pieces;
    pieces.push_back({linkText(texts, situation), Style::kGap, 0});
    if (situation.gapMs) pieces.push_back({texts.format("GAP_BEFORE", duration(*situation.gapMs)), Style::kGap, 1});
    if (situation.gapNextMs)
        pieces.push_back({texts.format("GAP_BEHIND", duration(*situation.gapNextMs)), Style::kGap, 3});
    if (facts.hasRecord()) {
        addUsage(pieces, facts);
        const Rate requests = facts.communication().requests;
        if (facts.now().communication) {
            const Value value = numberValue(Value::Kind::kRate, requests);
            pieces.push_back({texts["TOTAL_REQUESTS"] + " " + shown(value, 7, Cut::kEnd), Style::kPlain, 6});
        }
        addEvents(pieces, facts);
    }
    return lineOf(std::move(pieces), columns);
}

Line ruleLine(const Facts& facts, const Level& level, int columns) {
    const Texts& texts = facts.texts();
    const Arrangement& arrangement = level.arrangement();
    std::string right;
    const auto add = [&](const std::string& text) { right += " " + text + " --"; };
    if (level.followed()) add(texts[level.followed()->isPresent ? "FOLLOWING" : "FOLLOWED_IS_GONE"]);
    if (!arrangement.filter.empty()) add(texts["FILTER"] + ": " + cutTo(screenText(arrangement.filter), 16, Cut::kEnd));
    if (arrangement.column != kUnsorted) {
        add(texts["SORT"] + ": " + texts[level.sheet().columns[arrangement.column].heading] + " " +
            texts[arrangement.isDown ? "DOWN" : "UP"]);
    }
    if (level.rows() > 0) add(std::to_string(level.cursor() + 1) + "/" + std::to_string(level.rows()));
    right = cutTo(right, columns, Cut::kStart);

    constexpr int kLeast = 2;
    int room = columns - vexo::widthOf(right) - kLeast;
    Line line;
    const auto addLeft = [&](const std::string& text, Style style) {
        const std::string fitting = cutTo(text, room - vexo::widthOf(kDashes) - 1, Cut::kMiddle);
        if (fitting.empty()) return;
        line.insert(line.end(), {
                                    {kDashes, Style::kPlain},
                                    {fitting, style        },
                                    {" ",     Style::kPlain}
        });
        room -= vexo::widthOf(kDashes) + vexo::widthOf(fitting) + 1;
    };
    addLeft(waitsText(facts), Style::kWait);
    if (level.owner()) addLeft(ownerText(facts, level), Style::kPlain);
    line.push_back({std::string(static_cast<std::size_t>(std::max(room + kLeast, 0)), '-') + right, Style::kPlain});
    return line;
}

std::vector<Line> notesOf(const Facts& facts, const Level& level, int columns) {
    const Texts& texts = facts.texts();
    std::vector<std::string> notes;
    if (!facts.hasRecord()) {
        notes.push_back(texts["NO_RECORD"]);
    } else if (!facts.now().has(level.sheet().section)) {
        notes.push_back(sectionText(facts, level.sheet().section));
    } else if (level.owner() && !level.owner()->isPresent) {
        notes.push_back(texts["OWNER_IS_GONE"]);
    } else {
        notes.push_back(scopeText(facts, level));
        if (level.rows() == 0) notes.push_back(emptyText(facts, level));
    }
    std::vector<Line> lines;
    for (const std::string& note : notes)
        if (!note.empty())
            lines.push_back({
                {cutTo(note, columns, Cut::kEnd), Style::kGap}
            });
    return lines;
}

}  // namespace vexo
