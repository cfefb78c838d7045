// SPDX-License-Identifier: MIT
#include "main/top/Batch.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

#include "Utf8.h"
#include "foundation/Encoding.h"
#include "foundation/TextWriter.h"
#include "main/companion/ErrorStream.h"
#include "util/NumberFormatException.h"
#include "util/Utils.h"

namespace vexo {
namespace {

constexpr std::int64_t kTurnUs = 1'000'000;
constexpr int kUsualColumns = 80;
constexpr int kMostColumns = 10'000;

// A positive number of the environment; none for anything else.
std::optional<int> fromEnvironment(const char* name) {
    const char* const text = std::getenv(name);
    if (!text) return std::nullopt;
    try {
        const int number = Utils::parseInt(widen(text));
        return number > 0 ? std::optional<int>(number) : std::nullopt;
    } catch (const NumberFormatException&) {
        return std::nullopt;
    }
}

// More rows than any view of the record has.
int rowsOf(const Record& record) {
    constexpr std::size_t kFrame = 64;
    constexpr std::size_t kMostRows = 10'000'000;
    const std::size_t items = std::max({record.fileHandles.size(), record.files.size(), record.sessions.size(),
                                        record.connections.size(), record.protocols.size()});
    return static_cast<int>(std::min(2 * items + kFrame, kMostRows));
}

String fromUtf8(std::string_view text) {
    String wide;
    while (!text.empty()) {
        const utf8::Character character = utf8::firstCharacter(text);
        wide += character.size != 0 ? static_cast<wchar_t>(character.code) : L'?';
        text.remove_prefix(std::max<std::size_t>(character.size, 1));
    }
    return wide;
}

String textOf(const Line& line) {
    String text;
    for (const Span& span : line)
        text += fromUtf8(span.text);
    text.erase(text.find_last_not_of(L' ') + 1);
    return text;
}

void print(const Picture& picture, TextWriter& out) {
    // The last line tells the keys. Below the last row there are blank ones.
    std::vector<String> lines;
    for (auto line = picture.lines.begin(); line + 1 < picture.lines.end(); ++line)
        lines.push_back(textOf(*line));
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    for (const String& line : lines)
        out.writeLine(line);
}

// Whoever asks for a text wants no screen that waits for an engine.
void refuseUnreached(const Situation& situation) {
    if (!situation.reason.empty()) throw FeedException(fromUtf8(situation.reason), kRefused);
}

}  // namespace

void printBatch(Feed& feed, const TopOptions& options, const WakeUp& woken, const TerminalSignals& signals) {
    const int columns = std::min(fromEnvironment("COLUMNS").value_or(kUsualColumns), kMostColumns);
    const auto rows = fromEnvironment("LINES");
    const auto out = TextWriter::onStandardOutput(TextWriter::Flushing::kByHand);
    Viewer viewer(options.view);
    RecordPtr last;
    for (std::uint64_t printed = 0; printed < options.count && !signals.stopRequested();) {
        const bool isAtEnd = feed.isAtEnd();
        Scene scene = feed.look();
        if (scene.now == last) {
            if (isAtEnd) return;
            if (!last) refuseUnreached(scene.situation);
            woken.wait(kTurnUs);
            continue;
        }
        if (!scene.sentence.empty()) tell(narrow(fromUtf8(scene.sentence)));
        last = scene.now;
        viewer.show(scene.now, scene.before);
        viewer.setSituation(std::move(scene.situation));
        if (printed++ != 0) out->writeLine(L"");
        print(viewer.picture({rows.value_or(rowsOf(*last)), columns}), *out);
        out->flush();
        if (!feed.advancesByItself() && printed != options.count) feed.ask({RequestKind::kNextRecord, {}});
    }
}

}  // namespace vexo
