// SPDX-License-Identifier: MIT
// Shows a history. Its records are read on a thread of its own, so that no key waits for a large one.
#ifndef VEXO_MAIN_TOP_REPLAY_H
#define VEXO_MAIN_TOP_REPLAY_H

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "main/top/Feed.h"
#include "main/top/Player.h"
#include "messages/MessageHelper.h"
#include "sampling/WakeUp.h"

namespace vexo {

class Replay : public Feed {
public:
    // Begins at the time that `at` tells, at the end when it is followed, else with the first record. Borrows `changed`.
    // Throws FeedException for a history that cannot be read or is empty.
    Replay(const std::string& path, const std::optional<std::string>& at, bool follow, const WakeUp& changed);
    ~Replay() override;

    void start() override;
    Scene look() override;
    void ask(const Request& request) override;
    bool isAtEnd() const override;
    void stop() override;
    bool finished() const override;

private:
    struct Task {
        Request request;
        std::uint32_t times = 1;
    };

    void open(const std::optional<std::string>& at);
    void add(const Request& request);
    void run();
    std::optional<Task> nextTask();
    void perform(const Task& task);
    bool move(const Task& task);
    bool jump(const std::string& text);
    void followOn();
    void publish(const String& sentence, bool isWarning = false);

    const std::string m_path;
    const WakeUp& m_changed;
    const Ref<MessageHelper> m_messages;
    const bool m_canFollow;
    // Both of the thread, once it was started.
    Player m_player;
    String m_followNotice;

    mutable std::mutex m_mutex;
    std::condition_variable m_wanted;
    // Everything below is guarded by the mutex.
    std::deque<Task> m_tasks;
    Player::Place m_place;
    std::string m_sentence;
    bool m_isWarning = false;
    bool m_isFollowing;
    bool m_isPaused = false;
    bool m_isBusy = false;
    bool m_shallStop = false;
    bool m_isFinished = true;
};

}  // namespace vexo

#endif
