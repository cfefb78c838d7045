// SPDX-License-Identifier: MIT
#include "main/top/Batch.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "Utf8.h"
#include "foundation/Encoding.h"
#include "foundation/TextWriter.h"
#include "main/companion/ErrorStream.h"
#include "util/NumberFormatException.h"
#include "util/Utils.h"
#include "view/Header.h"

namespace vexo {
namespace {

constexpr std::int64_t kTurnUs = 1'000'000;
// How often is looked whether the agent has written a record.
constexpr std::int64_t kFollowTurnUs = 250'000;
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

// What the encoding of the environment lacks takes as many columns as it would.
String fromUtf8(std::string_view text) {
    String wide;
    while (!text.empty()) {
        const utf8::Character decoded = utf8::firstCharacter(text);
        const std::string_view one = text.substr(0, std::max<std::size_t>(decoded.size, 1));
        const auto character = static_cast<wchar_t>(decoded.code);
        if (decoded.size != 0 && isEncodable(character)) {
            wide += character;
        } else {
            wide.append(static_cast<std::size_t>(widthOf(one)), substituteFor(character));
        }
        text.remove_prefix(one.size());
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

class Printer {
public:
    explicit Printer(ViewName view)
        : m_out(TextWriter::onStandardOutput(TextWriter::Flushing::kByHand)),
          m_columns(
              std::clamp(fromEnvironment("COLUMNS").value_or(kUsualColumns), kSmallestSize.columns, kMostColumns)),
          m_rows(fromEnvironment("LINES")),
          m_viewer(view) {}

    const RecordPtr& last() const { return m_last; }
    std::uint64_t printed() const { return m_printed; }

    void print(Scene scene) {
        tellSentence(scene.sentence);
        m_last = scene.now;
        m_viewer.show(std::move(scene.now), std::move(scene.before));
        m_viewer.setSituation(std::move(scene.situation));
        if (m_printed++ != 0) m_out->writeLine(L"");
        const int rows = m_rows.value_or(rowsOf(*m_last));
        printPicture(m_viewer.picture({std::max(rows, kSmallestSize.rows), m_columns}));
        m_out->flush();
    }

    // Why nothing comes. Whoever asks for a text wants no screen that waits for an engine from the start.
    void tellTrouble(const Scene& scene) {
        if (scene.isWarning) tellSentence(scene.sentence);
        const std::string& reason = scene.situation.reason;
        if (!m_last && !reason.empty()) throw FeedException(fromUtf8(reason), kRefused);
        tellLink(scene.situation);
    }

private:
    // Not again what was told last: the same damage is met with every look behind it.
    void tellSentence(const std::string& sentence) {
        if (sentence.empty() || std::exchange(m_told, sentence) == sentence) return;
        tell(narrow(fromUtf8(sentence)));
    }
    // Once, why nothing is printed.
    void tellLink(const Situation& situation) {
        const bool isNews = std::exchange(m_link, situation.link) != situation.link;
        if (!isNews || situation.link == Situation::Link::kConnecting) return;
        const std::string text = linkText(Texts(), situation);
        if (!text.empty()) tell(narrow(fromUtf8(text)));
    }
    void printPicture(const Picture& picture) const {
        // The last line tells the keys. Below the last row there are blank ones.
        std::vector<String> lines;
        for (auto line = picture.lines.begin(); line + 1 < picture.lines.end(); ++line)
            lines.push_back(textOf(*line));
        while (!lines.empty() && lines.back().empty())
            lines.pop_back();
        for (const String& line : lines)
            m_out->writeLine(line);
    }

    const Ref<TextWriter> m_out;
    const int m_columns;
    const std::optional<int> m_rows;  // else as many as there are
    Viewer m_viewer;
    RecordPtr m_last;
    std::uint64_t m_printed = 0;
    std::string m_told;
    Situation::Link m_link = Situation::Link::kConnecting;  // that was told
};

// Whether anything may come yet.
bool waitForMore(Feed& feed, const TopOptions& options, const WakeUp& woken, bool isAtEnd) {
    if (isAtEnd && !options.follow) return false;
    woken.wait(isAtEnd ? kFollowTurnUs : kTurnUs);
    if (isAtEnd) feed.ask({RequestKind::kNextRecord, {}});
    return true;
}

}  // namespace

void printBatch(Feed& feed, const TopOptions& options, const WakeUp& woken, const TerminalSignals& signals) {
    Printer printer(options.view);
    while (!signals.stopRequested()) {
        const bool isAtEnd = feed.isAtEnd();
        Scene scene = feed.look();
        if (scene.now == printer.last()) {
            printer.tellTrouble(scene);
            if (!waitForMore(feed, options, woken, isAtEnd)) return;
            continue;
        }
        printer.print(std::move(scene));
        if (printer.printed() == options.count) return;
        // Each one, also where they come faster than they are looked for.
        if (options.history) feed.ask({RequestKind::kNextRecord, {}});
    }
}

}  // namespace vexo
