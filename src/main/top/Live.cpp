// SPDX-License-Identifier: MIT
#include "main/top/Live.h"

#include <utility>

#include "foundation/Encoding.h"
#include "main/companion/Options.h"
#include "output/Version.h"
#include "record/Duration.h"
#include "sink/Sink.h"
#include "view/Text.h"

namespace vexo {
namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;
constexpr std::int64_t kMillisPerSecond = 1000;
constexpr std::int64_t kUsualIntervalMs = 5000;
// A call that takes longer than that is told.
constexpr std::int64_t kStallMs = 3000;

class NewestSink : public Sink {
public:
    NewestSink(NewestRecords& newest, const WakeUp& changed) : m_newest(newest), m_changed(changed) {}

    std::string name() const override { return "screen"; }
    std::optional<RecordPlace> open() override { return {}; }
    void write(const RecordPtr& record) override {
        m_newest.put(record);
        m_changed.wake();
    }

private:
    NewestRecords& m_newest;
    const WakeUp& m_changed;
};

// Of the first section that failed.
std::string failureOf(const Record& record) {
    for (const Section section : kAllSections)
        if (record.section(section).state == SectionState::kFailed) return record.section(section).text;
    return {};
}

RecordPlan planOf(const ConfigData& configuration) {
    RecordPlan plan;
    plan.asks(Section::kFiles) = configuration.showFiles;
    plan.asks(Section::kSessions) = configuration.showSessions;
    plan.asks(Section::kConnections) = configuration.showConnections;
    plan.asks(Section::kUsage) = configuration.showResources;
    plan.asks(Section::kCommunications) = configuration.showCommunications;
    plan.scope = configuration.showHandles ? HandleScope::kAll : HandleScope::kNone;
    return plan;
}

}  // namespace

void NewestRecords::put(const RecordPtr& record) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (record->failedSections() != 0 && record->failedSections() == record->askedSections()) {
        if (!m_view.failed) m_view.failed = record;
        return;
    }
    std::optional<std::int64_t> gapMs;
    if (m_view.failed && m_view.now) gapMs = (record->monotonicUs - m_view.now->monotonicUs) / kMicrosPerMilli;
    m_view = {record, m_view.now, nullptr, gapMs};
}

NewestRecords::View NewestRecords::view() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_view;
}

Live::Live(const ConfigData& configuration, std::optional<std::int64_t> intervalMs, const WakeUp& changed)
    : m_api(loadEngineLibrary()), m_changed(changed), m_messages(makeRef<MessageHelper>("TOP", "TOP_")) {
    const std::int64_t configured = configuration.refreshRate * kMillisPerSecond;
    m_situation.server = narrow(configuration.server);
    m_situation.intervalMs = intervalMs.value_or(configured != 0 ? configured : kUsualIntervalMs);
    RecordFrame frame;
    frame.server = m_situation.server;
    frame.recorder = kProgramVersion;
    frame.run = 1;
    frame.number = 1;
    frame.intervalMs = static_cast<std::uint64_t>(m_situation.intervalMs);
    const RecordPlan plan = planOf(configuration);
    m_sinks.push_back(
        std::make_unique<SinkRunner>(std::make_unique<NewestSink>(m_newest, changed), [&changed] { changed.wake(); }));
    m_records.emplace(plan, std::move(frame), m_sinks, true);
    SamplerSettings settings;
    settings.server = configuration.server;
    settings.userName = configuration.userName;
    settings.password = configuration.password;
    settings.plan = plan;
    settings.intervalMs = m_situation.intervalMs;
    m_sampler.emplace(m_api, std::move(settings), *m_records, prepareFeedThread, [&changed] { changed.wake(); });
}

Live::~Live() = default;

void Live::start() {
    m_sinks.front()->start();
    m_isStarted = true;
    m_sampler->start();
}

Scene Live::look() {
    const String fatal = m_sampler->fatal();
    if (!fatal.empty()) throw FeedException(fatal, kRefused);
    m_records->takeTexts();  // a screen shows how things are, not how they became so
    const NewestRecords::View newest = m_newest.view();
    if (!m_situation.isPaused) {
        m_now = newest.now;
        m_before = newest.before;
        m_situation.gapMs = newest.gapMs;
    }
    Scene scene{m_now, m_before, m_situation, std::exchange(m_sentence, {})};
    setLink(scene.situation, newest);
    return scene;
}

void Live::setLink(Situation& situation, const NewestRecords::View& newest) const {
    using Link = Situation::Link;
    const std::int64_t busySinceUs = m_sampler->busySinceUs();
    const std::int64_t busyMs =
        busySinceUs != 0 ? (RecordClocks::systemMonotonicUs() - busySinceUs) / kMicrosPerMilli : 0;
    if (!newest.now) situation.link = Link::kConnecting;
    if (newest.failed) {
        if (newest.now) situation.link = Link::kLost;
        situation.linkSinceMs = newest.failed->epochMs;
        situation.reason = screenText(failureOf(*newest.failed));
    }
    if (busyMs < kStallMs) return;
    situation.link = Link::kStalled;
    situation.linkSinceMs = RecordClocks::systemEpochMs() - busyMs;
    situation.reason.clear();
}

void Live::ask(const Request& request) {
    switch (request.kind) {
        case RequestKind::kPause:
            m_situation.isPaused = !m_situation.isPaused;
            break;
        case RequestKind::kSetInterval:
            setInterval(request.text);
            break;
        default:
            break;  // only a recording can be moved in
    }
}

void Live::setInterval(const std::string& text) {
    const auto intervalMs = parseDuration(text);
    if (!intervalMs || *intervalMs < kLeastIntervalMs || *intervalMs > kDayMs) {
        m_sentence = screenText(m_messages->getResStr("BAD_INTERVAL", text.c_str()));
        return;
    }
    m_situation.intervalMs = *intervalMs;
    m_sampler->setInterval(*intervalMs);
}

void Live::stop() {
    m_sampler->stop();
    m_sinks.front()->finish();
}

// What has never been started is finished.
bool Live::finished() const {
    return !m_isStarted || (m_sampler->finished() && m_sinks.front()->finished());
}

}  // namespace vexo
