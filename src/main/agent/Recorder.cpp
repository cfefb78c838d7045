// SPDX-License-Identifier: MIT
#include "main/agent/Recorder.h"

#include <poll.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "engine/EngineCall.h"
#include "foundation/Encoding.h"
#include "main/agent/Sinks.h"
#include "main/companion/ErrorStream.h"
#include "output/Version.h"

namespace vexo {
namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;
constexpr std::int64_t kMillisPerSecond = 1000;
constexpr std::int64_t kUsualIntervalMs = 10'000;
// How often the main thread looks after a blocked engine at least.
constexpr std::int64_t kTurnMs = 1000;
// How long a thread is waited for that may be blocked.
constexpr std::int64_t kPatienceMs = 2000;

std::int64_t nowUs() {
    return RecordClocks::systemMonotonicUs();
}

[[noreturn]] void endWithoutMemory() {
    tell("Out of memory");
    std::_Exit(kRefused);
}

void reportCrashesOfCalls() {
    const MessageHelper messages("VEXO", "VEXO_");
    reportCrashes("vexo-agent: " + narrow(messages.getResStr("ERR_ENGINE_CRASH", &kCallPlaceholder[0])) + "\n");
}

}  // namespace

Recorder::Recorder(const AgentOptions& options, const ConfigData& configuration)
    : m_options(options), m_configuration(configuration), m_messages(makeRef<MessageHelper>("AGENT", "AGENT_")) {
}

int Recorder::run() {
    const XrApi api = loadEngineLibrary();
    openSinks();
    startThreads(api);
    m_manager.tell("READY=1");
    watch();
    m_manager.tell("STOPPING=1");
    stopSampler();
    try {
        noteEnd();
        closeSinks();
        tellFailure();
    } catch (const std::bad_alloc&) {
        endWithoutMemory();
    }
    // Threads that are blocked still use what would be destroyed here.
    if (!m_sampler->finished() || !areFinished()) std::_Exit(status());
    return status();
}

// Nothing about the record of a run that was cut short by a signal.
void Recorder::tellFailure() const {
    const String fatal = m_sampler->fatal();
    if (!fatal.empty()) tell(narrow(fatal));
    if (m_options.once && m_sampler->finished() && fatal.empty() && !m_sampler->lastWasWhole())
        tell(narrow(m_messages->getResStr("ERR_NOT_WHOLE")));
}

void Recorder::openSinks() {
    const auto changed = [this] { m_changed.wake(); };
    const SinkPlan sinks{m_options, narrow(m_configuration.server), [this] { return health(); }};
    for (auto& sink : makeSinks(sinks))
        m_sinks.push_back(std::make_unique<SinkRunner>(std::move(sink), changed));
    // Without a sink that counts them, the time tells one run from another.
    RecordPlace last{static_cast<std::uint64_t>(RecordClocks::systemEpochMs()) - 1, 0};
    for (const auto& sink : m_sinks)
        last = sink->sink().open().value_or(last);
    RecordFrame frame;
    frame.server = narrow(m_configuration.server);
    frame.recorder = kProgramVersion;
    frame.run = last.run + 1;
    frame.number = last.number + 1;
    frame.intervalMs = m_options.once ? 0 : static_cast<std::uint64_t>(intervalMs());
    m_records.emplace(plan(), std::move(frame), m_sinks, m_options.isBounded());
}

void Recorder::startThreads(const XrApi& api) {
    SamplerSettings settings;
    settings.server = m_configuration.server;
    settings.userName = m_configuration.userName;
    settings.password = m_configuration.password;
    settings.plan = plan();
    settings.intervalMs = intervalMs();
    settings.count = m_options.once ? 1 : m_options.count;
    m_records->note(eventNow(EventKind::kStarted, m_messages->getResStr("EVENT_STARTED", kProgramVersion)));
    m_sampler.emplace(api, std::move(settings), *m_records, reportCrashesOfCalls, [this] { m_changed.wake(); });
    try {
        for (const auto& sink : m_sinks)
            sink->start();
        m_sampler->start();
    } catch (const Exception& error) {
        // Threads that did start use what would be destroyed on the way out.
        tell(narrow(error.message()));
        std::_Exit(kRefused);
    } catch (const std::bad_alloc&) {
        endWithoutMemory();
    }
}

RecordPlan Recorder::plan() const {
    RecordPlan plan;
    plan.asks(Section::kFiles) = m_configuration.showFiles;
    plan.asks(Section::kSessions) = m_configuration.showSessions;
    plan.asks(Section::kConnections) = m_configuration.showConnections;
    plan.asks(Section::kUsage) = m_configuration.showResources;
    plan.asks(Section::kCommunications) = m_configuration.showCommunications;
    plan.scope = m_options.handles.value_or(m_configuration.showHandles ? HandleScope::kAll : HandleScope::kNone);
    return plan;
}

std::int64_t Recorder::intervalMs() const {
    const std::int64_t configured = m_configuration.refreshRate * kMillisPerSecond;
    return m_options.intervalMs.value_or(configured != 0 ? configured : kUsualIntervalMs);
}

std::vector<SinkHealth> Recorder::health() const {
    std::vector<SinkHealth> all;
    for (const auto& sink : m_sinks)
        all.push_back(sink->health());
    return all;
}

void Recorder::watch() {
    while (!shallEnd()) {
        turn(kTurnMs);
        try {
            watchEngine();
            tellEvents();
        } catch (const std::bad_alloc&) {
            // There may be some in a second.
        }
    }
}

bool Recorder::shallEnd() const {
    return m_sampler->finished() || isHurried();
}

// Waits until something happens, for `mostMs` at the longest, and heeds it.
void Recorder::turn(std::int64_t mostMs) {
    const std::int64_t watchdogMs = m_manager.watchdogMs();
    if (watchdogMs != 0 && nowUs() - m_watchdogUs >= watchdogMs * kMicrosPerMilli) {
        m_manager.tell("WATCHDOG=1");
        m_watchdogUs = nowUs();
    }
    const std::int64_t waitMs = std::max<std::int64_t>(std::min(mostMs, watchdogMs != 0 ? watchdogMs : mostMs), 0);
    pollfd either[] = {
        {m_signals.descriptor(), POLLIN, 0},
        {m_changed.descriptor(), POLLIN, 0}
    };
    ::poll(either, 2, static_cast<int>(waitMs));
    m_changed.clear();
    m_signals.take();
    if (!m_signals.takeReopening()) return;
    for (const auto& sink : m_sinks)
        sink->reopen();
}

// A blocked call is told once, however long it takes.
void Recorder::watchEngine() {
    const std::int64_t since = m_sampler->busySinceUs();
    if (since == 0) return;
    const std::int64_t blockedMs = (nowUs() - since) / kMicrosPerMilli;
    if (blockedMs >= m_options.stallMs && std::exchange(m_stalledUs, since) != since) m_sampler->tellStall(blockedMs);
    if (blockedMs >= m_options.abandonMs) m_abandoned = true;
}

void Recorder::stopSampler() {
    m_sampler->stop();
    waitFor([this] { return m_sampler->finished(); });
}

// What is bounded gives as many records as were asked for, and none about its end.
void Recorder::noteEnd() {
    if (m_options.isBounded() && !isHurried()) return;
    const String text = m_messages->getResStr(m_abandoned ? "EVENT_ABANDONED" : "EVENT_STOPPED");
    m_records->publishEnd(text);
    if (m_abandoned && m_options.isBounded()) tell(narrow(text));  // its usual end goes without a word
}

void Recorder::closeSinks() {
    for (const auto& sink : m_sinks)
        sink->finish();
    waitFor([this] { return areFinished(); });
    tellEvents();
    // What happened to a sink after the last record is told here alone, so all of it.
    for (const auto& sink : m_sinks) {
        sink->giveUp();
        for (const EventItem& event : sink->takeEvents(SinkRunner::Drops::kAll))
            tell(toldText(event));
    }
}

// A reader that is slow has all the time it wants, unless somebody asked for the end.
template <typename Done>
void Recorder::waitFor(Done done) {
    std::optional<std::int64_t> endUs;
    while (!done()) {
        if (isHurried() && !endUs) endUs = nowUs() + kPatienceMs * kMicrosPerMilli;
        if (endUs && nowUs() >= *endUs) return;
        turn(endUs ? (*endUs - nowUs()) / kMicrosPerMilli + 1 : kTurnMs);
    }
}

bool Recorder::isHurried() const {
    return m_signals.stopRequested() || m_abandoned || areGone();
}

bool Recorder::areGone() const {
    return std::all_of(m_sinks.begin(), m_sinks.end(), [](const auto& sink) { return sink->gone().has_value(); });
}

bool Recorder::areFinished() const {
    return std::all_of(m_sinks.begin(), m_sinks.end(), [](const auto& sink) { return sink->finished(); });
}

int Recorder::status() const {
    if (m_abandoned) return kAbandoned;
    if (areGone() || !m_sampler->fatal().empty()) return kRefused;
    if (!m_options.once) return kEnded;
    const bool kept = std::all_of(m_sinks.begin(), m_sinks.end(), [](const auto& sink) {
        const SinkHealth health = sink->health();
        return health.up && health.dropped == 0;
    });
    return kept && m_sampler->lastWasWhole() ? kEnded : kRefused;
}

void Recorder::tellEvents() {
    for (const std::string& text : m_records->takeTexts())
        tell(text);
}

}  // namespace vexo
