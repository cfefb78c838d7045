// SPDX-License-Identifier: MIT
#include "main/top/Replay.h"

#include <utility>

#include "foundation/NamedThread.h"
#include "record/PointInTime.h"
#include "view/Text.h"

namespace vexo {
namespace {

// How often is looked whether the agent has written a record.
constexpr auto kFollowPause = std::chrono::milliseconds(250);

Player openHistory(const std::string& path) {
    try {
        return Player(path);
    } catch (const HistoryException& error) {
        throw FeedException(error.message(), kUnreadable);
    }
}

// What is said when there is no such record.
const char* absenceOf(RequestKind kind) {
    switch (kind) {
        case RequestKind::kNextRecord:
            return "NO_NEXT_RECORD";
        case RequestKind::kPreviousRecord:
            return "NO_PREVIOUS_RECORD";
        case RequestKind::kNextWait:
            return "NO_NEXT_WAIT";
        case RequestKind::kPreviousWait:
            return "NO_PREVIOUS_WAIT";
        case RequestKind::kNextGap:
            return "NO_NEXT_GAP";
        default:
            return "NO_PREVIOUS_GAP";
    }
}

}  // namespace

Replay::Replay(const std::string& path, const std::optional<std::string>& at, bool follow, const WakeUp& changed)
    : m_path(path),
      m_changed(changed),
      m_messages(makeRef<MessageHelper>("TOP", "TOP_")),
      m_canFollow(follow),
      m_player(openHistory(path)),
      m_isFollowing(follow && !at) {
    try {
        open(at);
    } catch (const HistoryException& error) {
        throw FeedException(error.message(), kUnreadable);
    }
}

Replay::~Replay() = default;

void Replay::open(const std::optional<std::string>& at) {
    if (!m_player.span()) throw FeedException(m_messages->getResStr("ERR_EMPTY", m_path.c_str()), kUnreadable);
    const bool found = at ? jump(*at) : m_isFollowing ? m_player.last() : m_player.first();
    const String notice = m_player.takeNotice();
    if (!found) {
        const String empty = m_messages->getResStr("ERR_EMPTY", m_path.c_str());
        throw FeedException(notice.empty() ? empty : notice, kUnreadable);
    }
    m_place = m_player.place();
    if (!notice.empty()) m_sentence = screenText(notice);
}

void Replay::start() {
    m_isFinished = false;
    const auto body = [](void* replay) { static_cast<Replay*>(replay)->run(); };
    const ResultCode refused = NamedThread(L"VexoReplay").start(body, this);
    if (refused == kSuccess) return;
    m_isFinished = true;
    throw ResultException(refused, MessageHelper("AGENT", "AGENT_").getResStr("ERR_THREAD", refused));
}

Scene Replay::look() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Scene scene;
    scene.now = m_place.now;
    scene.before = m_place.before;
    scene.situation.server = m_place.now->name(m_place.now->server);
    scene.situation.isReplay = true;
    scene.situation.isFollowing = m_isFollowing;
    scene.situation.isPaused = m_isPaused;
    scene.situation.intervalMs = static_cast<std::int64_t>(m_place.now->intervalMs);
    scene.situation.gapMs = m_place.gapMs;
    scene.situation.gapNextMs = m_place.gapNextMs;
    scene.sentence = std::exchange(m_sentence, {});
    scene.isWarning = std::exchange(m_isWarning, false);
    return scene;
}

void Replay::ask(const Request& request) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (request.kind == RequestKind::kSetInterval) {
        m_sentence = screenText(m_messages->getResStr("ONLY_LIVE"));
    } else if (request.kind == RequestKind::kPause) {
        if (m_isFollowing) m_isPaused = !m_isPaused;
        if (!m_isFollowing) m_sentence = screenText(m_messages->getResStr("NO_PAUSE"));
    } else {
        m_isFollowing = m_canFollow && request.kind == RequestKind::kLastRecord;
        m_isPaused = false;
        add(request);
        m_wanted.notify_one();
    }
}

// What is pressed again while a large record is being read becomes one way, so that no key is lost and a key that is held
// down is not worked off long after it is let go.
void Replay::add(const Request& request) {
    const bool isAgain = !m_tasks.empty() && m_tasks.back().request.kind == request.kind;
    if (isAgain && request.kind != RequestKind::kJump) {
        ++m_tasks.back().times;
    } else {
        m_tasks.push_back({request, 1});
    }
}

bool Replay::isAtEnd() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_tasks.empty() && !m_isBusy && !m_isFollowing;
}

void Replay::stop() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_shallStop = true;
    m_wanted.notify_one();
}

bool Replay::finished() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_isFinished;
}

void Replay::run() {
    prepareFeedThread();
    while (const auto task = nextTask())
        perform(*task);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isFinished = true;
    m_changed.wake();  // still under the lock: whoever sees that this has finished may destroy it
}

// What to do next; to follow the agent is to look for a next record with kNone. Nothing at the end.
std::optional<Replay::Task> Replay::nextTask() {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto isWanted = [this] { return m_shallStop || !m_tasks.empty(); };
    if (m_canFollow) {
        m_wanted.wait_for(lock, kFollowPause, isWanted);
    } else {
        m_wanted.wait(lock, isWanted);
    }
    if (m_shallStop) return std::nullopt;
    if (m_tasks.empty()) return Task{};
    m_isBusy = true;
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return task;
}

void Replay::perform(const Task& task) {
    const RequestKind kind = task.request.kind;
    try {
        if (kind == RequestKind::kNone) return followOn();
        publish(move(task) ? String() : m_messages->getResStr(absenceOf(kind)));
    } catch (const HistoryException& error) {
        publish(error.message(), true);
    }
}

bool Replay::move(const Task& task) {
    switch (task.request.kind) {
        case RequestKind::kNextRecord:
            return m_player.next(task.times);
        case RequestKind::kPreviousRecord:
            return m_player.previous(task.times);
        case RequestKind::kFirstRecord:
            return m_player.first();
        case RequestKind::kLastRecord:
            return m_player.last();
        case RequestKind::kNextWait:
            return m_player.nextWait(task.times);
        case RequestKind::kPreviousWait:
            return m_player.previousWait(task.times);
        case RequestKind::kNextGap:
            return m_player.nextGap(task.times);
        case RequestKind::kPreviousGap:
            return m_player.previousGap(task.times);
        default:
            return jump(task.request.text);
    }
}

// A time without a date is the last such of the history, whenever that was recorded.
bool Replay::jump(const std::string& text) {
    const auto span = m_player.span();
    if (!span) return false;
    const auto epochMs = parsePointInTime(text, span->last.epochMs);
    String sentence;
    if (!epochMs) {
        sentence = m_messages->getResStr("BAD_TIME", text.c_str());
    } else {
        if (!m_player.at(*epochMs)) return false;
        if (*epochMs < span->first.epochMs)
            sentence = m_messages->getResStr("BEGINS", localTime(span->first.epochMs).c_str());
        if (*epochMs > span->last.epochMs + static_cast<std::int64_t>(m_player.place().now->intervalMs))
            sentence = m_messages->getResStr("ENDS", localTime(span->last.epochMs).c_str());
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sentence = screenText(sentence);
    return true;
}

void Replay::followOn() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_isFollowing || m_isPaused) return;
    }
    const std::uint64_t shown = m_player.place().now->number;
    if (!m_player.hasNext() || !m_player.last()) return;
    const String notice = m_player.takeNotice();
    // Damage at the end is met with every look behind it, and told once.
    if (std::exchange(m_followNotice, notice) != notice || m_player.place().now->number != shown) {
        publish(notice, !notice.empty());
    }
}

void Replay::publish(const String& sentence, bool isWarning) {
    const String notice = m_player.takeNotice();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_place = m_player.place();
    m_isBusy = false;
    m_isWarning = isWarning || !notice.empty();
    if (m_isWarning || !sentence.empty()) m_sentence = screenText(notice.empty() ? sentence : notice);
    m_changed.wake();
}

}  // namespace vexo
