// SPDX-License-Identifier: MIT
// Shows an engine: the newest record of a thread of its own that reads it.
#ifndef VEXO_MAIN_TOP_LIVE_H
#define VEXO_MAIN_TOP_LIVE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "config/ConfigData.h"
#include "engine/XrApi.h"
#include "main/top/Feed.h"
#include "sampling/Distributor.h"
#include "sampling/Sampler.h"
#include "sampling/WakeUp.h"

namespace vexo {

// The newest records of the engine. For use by any thread.
class NewestRecords {
public:
    struct View {
        RecordPtr now;                      // the last one that the engine answered; null before the first
        RecordPtr before;                   // the one before that
        RecordPtr failed;                   // the first one since then that the engine did not answer
        std::optional<std::int64_t> gapMs;  // between the two, where it did not answer in between
    };
    void put(const RecordPtr& record);
    View view() const;

private:
    mutable std::mutex m_mutex;
    View m_view;
};

class Live : public Feed {
public:
    // Borrows `changed`, which is woken by every record. Throws an Exception with a message for an engine library that
    // cannot be loaded.
    Live(const ConfigData& configuration, std::optional<std::int64_t> intervalMs, const WakeUp& changed);
    ~Live() override;

    void start() override;
    Scene look() override;
    void ask(const Request& request) override;
    bool isAtEnd() const override { return false; }
    void stop() override;
    bool finished() const override;

private:
    void setInterval(const std::string& text);
    void setLink(Situation& situation, const NewestRecords::View& newest) const;

    const XrApi m_api;
    const WakeUp& m_changed;
    const Ref<MessageHelper> m_messages;
    Situation m_situation;
    std::string m_sentence;
    RecordPtr m_now;  // shown
    RecordPtr m_before;

    NewestRecords m_newest;
    SinkRunners m_sinks;
    std::optional<Distributor> m_records;
    std::optional<Sampler> m_sampler;
    bool m_isStarted = false;
};

}  // namespace vexo

#endif
