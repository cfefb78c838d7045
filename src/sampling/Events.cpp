// SPDX-License-Identifier: MIT
#include "sampling/Events.h"

#include "foundation/Encoding.h"

namespace vexo {

EventItem eventNow(EventKind kind, const String& text) {
    EventItem event;
    event.kind = kind;
    event.startMs = RecordClocks::systemEpochMs();
    event.text = narrowUtf8(text);
    return event;
}

std::string toldText(const EventItem& event) {
    return narrow(widenUtf8(event.text));
}

}  // namespace vexo
