// SPDX-License-Identifier: MIT
// Where the records of a screen come from: an engine that is read now, or a history.
#ifndef VEXO_MAIN_TOP_FEED_H
#define VEXO_MAIN_TOP_FEED_H

#include <string>

#include "foundation/Exception.h"
#include "main/companion/Companion.h"
#include "view/Key.h"
#include "view/Viewer.h"

namespace vexo {

// There is nothing to show and never will be. The message says why.
class FeedException : public Exception {
public:
    FeedException(String message, int status) : Exception(std::move(message)), m_status(status) {}
    // Of the program.
    int status() const { return m_status; }

private:
    int m_status;
};

// What is to be shown.
struct Scene {
    RecordPtr now;  // null before the first
    RecordPtr before;
    Situation situation;
    std::string sentence;    // for the user, once, in UTF-8; often empty
    bool isWarning = false;  // whether it tells of what could not be read
};

// Operations are for the main thread, and none of them waits: what takes time is done by threads.
class Feed {
public:
    virtual ~Feed() = default;

    // Starts the threads. Throws an Exception with a message.
    virtual void start() = 0;
    // What is to be shown now. Throws FeedException.
    virtual Scene look() = 0;
    // Does what a key asked for, as far as it is about records; look() shows what became of it.
    virtual void ask(const Request& request) = 0;
    // Whether no other record will ever come unless one is asked for.
    virtual bool isAtEnd() const = 0;
    // Lets the threads end.
    virtual void stop() = 0;
    // Whether they did; before that the feed must not be destroyed.
    virtual bool finished() const = 0;
};

// To be called first by a thread that reads records: when the process crashes, the terminal is restored before anything is
// told.
void prepareFeedThread();

}  // namespace vexo

#endif
