// SPDX-License-Identifier: MIT
#include "view/Viewer.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

#include "view/Header.h"
#include "view/Help.h"
#include "view/Prompt.h"

namespace vexo {
namespace {

constexpr std::size_t kViews = 6;
constexpr std::string_view kWords[kViews] = {"files", "waits", "sessions", "connections", "usage", "communications"};
constexpr std::size_t kDeepest = 8;  // levels of handles above each other

enum class Asked : std::uint8_t { kFilter, kSearch, kTime, kInterval };

}  // namespace

std::optional<ViewName> viewOf(std::string_view word) {
    const auto* const found = std::find(std::begin(kWords), std::end(kWords), word);
    if (found == std::end(kWords)) return std::nullopt;
    return static_cast<ViewName>(found - std::begin(kWords));
}

class Viewer::Implementation {
public:
    explicit Implementation(ViewName first)
        : m_views{Level(filesSheet()),       Level(waitsSheet()), Level(sessionsSheet()),
                  Level(connectionsSheet()), Level(usageSheet()), Level(communicationsSheet())},
          m_view(first) {}

    void show(RecordPtr now, RecordPtr before);
    void setSituation(Situation situation) { m_situation = std::move(situation); }
    void tell(std::string_view sentence) { m_told = screenText(sentence); }
    Request press(Key key);
    Picture picture(Size size);

private:
    using Action = Request (Implementation::*)();
    struct Binding {
        KeyKind kind;
        char32_t character;
        Action action;
    };
    static const Binding kBindings[];

    Level& level() { return m_handles.empty() ? m_views[static_cast<std::size_t>(m_view)] : m_handles.back(); }

    template <RequestKind kind>
    Request ask() {
        return {kind, {}};
    }
    // Of a recording only.
    template <RequestKind kind>
    Request step() {
        if (!m_situation.isReplay) return refuse("ONLY_REPLAY");
        return {kind, {}};
    }
    Request refuse(const char* key) {
        m_told = m_facts.texts()[key];
        return {};
    }
    template <int rows>
    Request move() {
        level().step(rows);
        return {};
    }
    template <int pages>
    Request turn() {
        level().step(pages * std::max<std::ptrdiff_t>(level().page() - 1, 1));
        return {};
    }
    Request toStart() { return level().toStart(), Request{}; }
    Request toEnd() { return level().toEnd(), Request{}; }
    template <int further>
    Request sort() {
        return level().sortBy(further), Request{};
    }
    Request invert() { return level().invert(), Request{}; }
    Request follow() { return level().follow(m_facts.record()), Request{}; }
    template <int further>
    Request otherView() {
        constexpr auto kCount = static_cast<int>(kViews);
        return toView(static_cast<ViewName>((static_cast<int>(m_view) + further + kCount) % kCount));
    }
    template <Asked what>
    Request openPrompt();
    Request openHelp();
    Request open();
    Request back();
    Request searchOn();

    Request toView(ViewName view);
    Request pressInPrompt(Key key);
    Request pressInHelp(Key key);
    Request accept(const std::string& text);
    Request openHandles(const Sheet& sheet, const Sheet& of, std::uint32_t owner, std::uint32_t select = kNowhere);
    Request openFile(NameId name, std::uint32_t select = kNowhere);

    void addTable(Picture& picture, Size size);
    void addHelp(Picture& picture, Size size);
    void addLastLine(Picture& picture, Size size) const;
    Line keysLine(int columns) const;

    Facts m_facts;
    Situation m_situation;
    std::array<Level, kViews> m_views;
    std::vector<Level> m_handles;  // opened from a view, the shown one last
    ViewName m_view;
    std::optional<Prompt> m_prompt;
    Asked m_asked = Asked::kFilter;
    std::string m_needle;
    std::string m_told;
    bool m_isHelp = false;
    std::size_t m_helpTop = 0;
};

const Viewer::Implementation::Binding Viewer::Implementation::kBindings[] = {
    {KeyKind::kUp,        0,   &Implementation::move<-1>                          },
    {KeyKind::kDown,      0,   &Implementation::move<1>                           },
    {KeyKind::kCharacter, 'k', &Implementation::move<-1>                          },
    {KeyKind::kCharacter, 'j', &Implementation::move<1>                           },
    {KeyKind::kPageUp,    0,   &Implementation::turn<-1>                          },
    {KeyKind::kPageDown,  0,   &Implementation::turn<1>                           },
    {KeyKind::kHome,      0,   &Implementation::toStart                           },
    {KeyKind::kEnd,       0,   &Implementation::toEnd                             },
    {KeyKind::kEnter,     0,   &Implementation::open                              },
    {KeyKind::kEscape,    0,   &Implementation::back                              },
    {KeyKind::kTab,       0,   &Implementation::otherView<1>                      },
    {KeyKind::kBackTab,   0,   &Implementation::otherView<-1>                     },
    {KeyKind::kCharacter, '<', &Implementation::sort<-1>                          },
    {KeyKind::kCharacter, '>', &Implementation::sort<1>                           },
    {KeyKind::kF6,        0,   &Implementation::sort<1>                           },
    {KeyKind::kCharacter, 'I', &Implementation::invert                            },
    {KeyKind::kCharacter, '/', &Implementation::openPrompt<Asked::kFilter>        },
    {KeyKind::kF4,        0,   &Implementation::openPrompt<Asked::kFilter>        },
    {KeyKind::kF3,        0,   &Implementation::openPrompt<Asked::kSearch>        },
    {KeyKind::kCharacter, 'n', &Implementation::searchOn                          },
    {KeyKind::kCharacter, 'F', &Implementation::follow                            },
    {KeyKind::kCharacter, 'z', &Implementation::ask<RequestKind::kPause>          },
    {KeyKind::kCharacter, ' ', &Implementation::ask<RequestKind::kPause>          },
    {KeyKind::kCharacter, 'i', &Implementation::openPrompt<Asked::kInterval>      },
    {KeyKind::kCharacter, 't', &Implementation::step<RequestKind::kNextRecord>    },
    {KeyKind::kCharacter, 'T', &Implementation::step<RequestKind::kPreviousRecord>},
    {KeyKind::kCharacter, 'r', &Implementation::step<RequestKind::kFirstRecord>   },
    {KeyKind::kCharacter, 'Z', &Implementation::step<RequestKind::kLastRecord>    },
    {KeyKind::kCharacter, 'b', &Implementation::openPrompt<Asked::kTime>          },
    {KeyKind::kCharacter, 'w', &Implementation::step<RequestKind::kNextWait>      },
    {KeyKind::kCharacter, 'W', &Implementation::step<RequestKind::kPreviousWait>  },
    {KeyKind::kCharacter, 'g', &Implementation::step<RequestKind::kNextGap>       },
    {KeyKind::kCharacter, 'G', &Implementation::step<RequestKind::kPreviousGap>   },
    {KeyKind::kCharacter, '?', &Implementation::openHelp                          },
    {KeyKind::kF1,        0,   &Implementation::openHelp                          },
    {KeyKind::kCharacter, 'q', &Implementation::ask<RequestKind::kQuit>           },
};

void Viewer::Implementation::show(RecordPtr now, RecordPtr before) {
    m_facts.set(std::move(now), std::move(before));
    for (Level& level : m_views)
        level.moveTo(m_facts.record());
    for (Level& level : m_handles)
        level.moveTo(m_facts.record());
}

Request Viewer::Implementation::press(Key key) {
    m_told.clear();
    if (m_prompt) return pressInPrompt(key);
    if (m_isHelp) return pressInHelp(key);
    level().refresh(m_facts);
    if (key.kind == KeyKind::kCharacter && key.character >= '1' && key.character < '1' + kViews) {
        return toView(static_cast<ViewName>(key.character - '1'));
    }
    const auto* const binding =
        std::find_if(std::begin(kBindings), std::end(kBindings), [key](const Binding& candidate) {
            return candidate.kind == key.kind &&
                   (key.kind != KeyKind::kCharacter || candidate.character == key.character);
        });
    return binding == std::end(kBindings) ? Request{} : (this->*binding->action)();
}

Request Viewer::Implementation::toView(ViewName view) {
    m_handles.clear();
    m_view = view;
    return {};
}

template <Asked what>
Request Viewer::Implementation::openPrompt() {
    if (what == Asked::kTime && !m_situation.isReplay) return refuse("ONLY_REPLAY");
    constexpr const char* kLabels[] = {"FILTER", "SEARCH", "ASK_TIME", "ASK_INTERVAL"};
    m_asked = what;
    const std::string& text = what == Asked::kFilter ? level().arrangement().filter : std::string();
    m_prompt.emplace(m_facts.texts()[kLabels[static_cast<std::size_t>(what)]], text);
    return {};
}

Request Viewer::Implementation::pressInPrompt(Key key) {
    const Prompt::State state = m_prompt->press(key);
    const std::string text = state == Prompt::State::kCancelled ? std::string() : m_prompt->text();
    if (m_asked == Asked::kFilter) level().setFilter(text);  // while it is typed, too
    if (state == Prompt::State::kOpen) return {};
    m_prompt.reset();
    return state == Prompt::State::kAccepted ? accept(text) : Request{};
}

Request Viewer::Implementation::accept(const std::string& text) {
    switch (m_asked) {
        case Asked::kSearch:
            if (!text.empty()) m_needle = text;
            return searchOn();
        case Asked::kTime:
            return text.empty() ? Request{} : Request{RequestKind::kJump, text};
        case Asked::kInterval:
            return text.empty() ? Request{} : Request{RequestKind::kSetInterval, text};
        default:
            return {};
    }
}

Request Viewer::Implementation::searchOn() {
    if (m_needle.empty()) return {};
    level().refresh(m_facts);
    return level().toNext(m_facts, m_needle) ? Request{} : refuse("NOT_FOUND");
}

Request Viewer::Implementation::openHelp() {
    m_isHelp = true;
    m_helpTop = 0;
    return {};
}

Request Viewer::Implementation::pressInHelp(Key key) {
    switch (key.kind) {
        case KeyKind::kDown:
        case KeyKind::kPageDown:
            ++m_helpTop;
            break;
        case KeyKind::kUp:
        case KeyKind::kPageUp:
            m_helpTop -= m_helpTop > 0 ? 1 : 0;
            break;
        default:
            m_isHelp = false;
    }
    return {};
}

Request Viewer::Implementation::back() {
    if (!level().arrangement().filter.empty()) {
        level().setFilter({});
    } else if (!m_handles.empty()) {
        m_handles.pop_back();
    }
    return {};
}

Request Viewer::Implementation::open() {
    const auto item = level().item();
    if (!item) return {};
    const Sheet* const sheet = &level().sheet();
    const Record& now = m_facts.now();
    if (sheet == &filesSheet()) return openHandles(fileHandlesSheet(), filesSheet(), *item);
    if (sheet == &sessionsSheet()) return openHandles(sessionHandlesSheet(), sessionsSheet(), *item);
    if (sheet == &waitsSheet()) return openFile(now.waits[*item].file, m_facts.waits()[*item].holder);
    if (sheet == &sessionHandlesSheet()) return openFile(now.sessionHandles[*item].file);
    if (sheet != &fileHandlesSheet()) return {};
    const std::uint32_t session = m_facts.sessionNamed(now.fileHandles[*item].client);
    if (session == kNowhere) return refuse("NO_SESSION");
    if (session == kAmbiguous) return refuse("SESSIONS_SHARE_NAME");
    return openHandles(sessionHandlesSheet(), sessionsSheet(), session);
}

Request Viewer::Implementation::openFile(NameId name, std::uint32_t select) {
    const std::uint32_t file = m_facts.fileNamed(name);
    if (file == kNowhere) return refuse("NO_FILE");
    if (file == kAmbiguous) return refuse("FILES_SHARE_NAME");
    return openHandles(fileHandlesSheet(), filesSheet(), file, select);
}

Request Viewer::Implementation::openHandles(const Sheet& sheet, const Sheet& of, std::uint32_t owner,
                                            std::uint32_t select) {
    if (m_handles.size() == kDeepest) m_handles.erase(m_handles.begin());
    m_handles.emplace_back(sheet, of, Anchor{m_facts.record(), owner, true});
    level().refresh(m_facts);
    if (select != kNowhere) level().toItem(select);
    return {};
}

Picture Viewer::Implementation::picture(Size size) {
    Picture picture;
    if (size.rows < 1 || size.columns < 1) return picture;
    if (size.rows < kSmallestSize.rows || size.columns < kSmallestSize.columns) {
        picture.lines.push_back({
            {cutTo(m_facts.texts()["TOO_SMALL"], size.columns, Cut::kEnd), Style::kPlain}
        });
        return picture;
    }
    picture.lines.push_back(firstHeaderLine(m_facts, m_situation, m_view, size.columns));
    picture.lines.push_back(secondHeaderLine(m_facts, m_situation, size.columns));
    if (m_isHelp) {
        addHelp(picture, size);
    } else {
        addTable(picture, size);
    }
    picture.lines.resize(static_cast<std::size_t>(size.rows - 1));
    addLastLine(picture, size);
    return picture;
}

void Viewer::Implementation::addTable(Picture& picture, Size size) {
    level().refresh(m_facts);
    picture.lines.push_back(ruleLine(m_facts, level(), size.columns));
    for (Line& note : notesOf(m_facts, level(), size.columns))
        picture.lines.push_back(std::move(note));
    const int room = size.rows - 1 - static_cast<int>(picture.lines.size());
    std::vector<Line> lines = level().lines(m_facts, {room, size.columns});
    if (level().rows() == 0) lines.clear();
    std::move(lines.begin(), lines.end(), std::back_inserter(picture.lines));
}

void Viewer::Implementation::addHelp(Picture& picture, Size size) {
    picture.lines.push_back({
        {std::string(static_cast<std::size_t>(size.columns), '-'), Style::kPlain}
    });
    const std::vector<Line> lines = helpLines(m_facts.texts(), size.columns);
    const auto room = static_cast<std::size_t>(size.rows) - picture.lines.size() - 1;
    m_helpTop = std::min(m_helpTop, lines.size() > room ? lines.size() - room : 0);
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(m_helpTop);
    std::copy_n(first, std::min(room, lines.size() - m_helpTop), std::back_inserter(picture.lines));
}

void Viewer::Implementation::addLastLine(Picture& picture, Size size) const {
    if (m_prompt) {
        int column = 0;
        picture.lines.push_back(m_prompt->line(size.columns, column));
        picture.cursor = Position{size.rows - 1, column};
    } else if (!m_told.empty()) {
        picture.lines.push_back({
            {cutTo(m_told, size.columns, Cut::kEnd), Style::kStrong}
        });
    } else {
        picture.lines.push_back(keysLine(size.columns));
    }
}

Line Viewer::Implementation::keysLine(int columns) const {
    const Texts& texts = m_facts.texts();
    const char* const key = m_isHelp ? "KEYS_HELP" : m_situation.isReplay ? "KEYS_REPLAY" : "KEYS_LIVE";
    const std::string& text = texts[key];
    std::vector<Piece> pieces;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find("  ", start), text.size());
        pieces.push_back({text.substr(start, end - start), Style::kPlain, static_cast<int>(pieces.size())});
        start = end + 2;
    }
    return lineOf(std::move(pieces), columns);
}

Viewer::Viewer(ViewName first) : m_implementation(std::make_unique<Implementation>(first)) {
}

Viewer::~Viewer() = default;

void Viewer::show(RecordPtr now, RecordPtr before) {
    m_implementation->show(std::move(now), std::move(before));
}

void Viewer::setSituation(Situation situation) {
    m_implementation->setSituation(std::move(situation));
}

void Viewer::tell(std::string_view sentence) {
    m_implementation->tell(sentence);
}

Request Viewer::press(Key key) {
    return m_implementation->press(key);
}

Picture Viewer::picture(Size size) {
    return m_implementation->picture(size);
}

}  // namespace vexo
