// SPDX-License-Identifier: MIT
// What the recorder itself has to tell.
#ifndef VEXO_SAMPLING_EVENTS_H
#define VEXO_SAMPLING_EVENTS_H

#include <string>

#include "record/RecordCollector.h"

namespace vexo {

// What happens now.
EventItem eventNow(EventKind kind, const String& text);

// The text of an event, which is UTF-8 in records, in the encoding of the environment.
std::string toldText(const EventItem& event);

}  // namespace vexo

#endif
