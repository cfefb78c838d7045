// SPDX-License-Identifier: MIT
// The views of records: what they show and what keys do in them, without a terminal.
#ifndef VEXO_VIEW_VIEWER_H
#define VEXO_VIEW_VIEWER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "record/Record.h"
#include "view/Key.h"
#include "view/Picture.h"

namespace vexo {

// Below it there is no room for a table.
inline constexpr Size kSmallestSize = {10, 60};

// In the order of their keys.
enum class ViewName : std::uint8_t { kFiles, kWaits, kSessions, kConnections, kUsage, kCommunications };

// The view of a word such as "files".
std::optional<ViewName> viewOf(std::string_view word);

// What the header tells beside the record.
struct Situation {
    enum class Link : std::uint8_t {
        kConnecting,  // for the first time
        kConnected,
        kLost,     // connecting anew
        kStalled,  // a call has been blocked for long
    };

    std::string server;  // bytes, as configured
    bool isReplay = false;
    bool isFollowing = false;  // at the end of a recording that is being written
    bool isPaused = false;
    std::int64_t intervalMs = 0;
    Link link = Link::kConnected;
    std::int64_t linkSinceMs = 0;           // UTC, milliseconds since 1970; of a lost or stalled engine
    std::string reason;                     // why, in the user's language
    std::optional<std::int64_t> gapMs;      // without records before the shown one
    std::optional<std::int64_t> gapNextMs;  // and behind it
};

// For use by one thread.
class Viewer {
public:
    explicit Viewer(ViewName first);
    ~Viewer();

    // The record to show, and the one that rates are counted from; either may be null. The row of the cursor stays with its
    // place, or with its item while one is followed.
    void show(RecordPtr now, RecordPtr before);
    void setSituation(Situation situation);
    // A sentence for the user, shown until the next key.
    void tell(std::string_view sentence);

    // Does what a key asks for, as far as a view can.
    Request press(Key key);
    // The screen. Draws in any size.
    Picture picture(Size size);

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

}  // namespace vexo

#endif
