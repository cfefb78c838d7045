// SPDX-License-Identifier: MIT
// Where the recorder's records go: a file, a history, an endpoint.
#ifndef VEXO_SINK_SINK_H
#define VEXO_SINK_SINK_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Exception.h"
#include "record/Record.h"

namespace vexo {

// What a sink writes to has gone and cannot come back: the reader of standard output has left. The recorder gives the
// sink up, and ends when it has no other one.
class SinkGoneException : public Exception {
public:
    using Exception::Exception;
};

// The last record of a sink that keeps records across runs. The recorder goes on from there.
struct RecordPlace {
    std::uint64_t run = 0;
    std::uint64_t number = 0;
};

// How a sink is doing.
struct SinkHealth {
    std::string name;                    // as Sink::name()
    bool up = true;                      // whether the last record, or the last reopening, went well
    std::uint64_t dropped = 0;           // records that it did not take, since the recorder started
    std::optional<std::uint64_t> bytes;  // as Sink::bytes()
};

// Tells how all sinks of the recorder are doing, in the order of the command line. May be called on any thread, at any
// time between Sink::open() and the end of the recorder.
using SinkHealthSource = std::function<std::vector<SinkHealth>()>;

// One way out for records. The recorder gives every sink a thread and a queue of its own, so a sink may take its time and
// may block: then the oldest records of its queue are dropped, counted, and told in the next record.
//
// What happens is told by records alone. Beside whole ones the recorder gives out records in which every section that
// was asked for has failed: when the engine cannot be reached, and when a call has been blocked for longer than
// --stall. What the recorder itself did (also to other sinks) stands in Record::events.
class Sink {
public:
    Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    virtual ~Sink() = default;

    // The kind of sink, a fixed word for labels, events and messages: "history", "ndjson", "csv", "metrics", "textfile".
    virtual std::string name() const = 0;

    // Once, before everything else, on the main thread, with the signals that the recorder heeds blocked. Threads of the
    // sink's own are started here. Throws an Exception with a message when the sink cannot be used: the recorder then
    // ends with status 1. What it gives has to be greater than any run and record that it already holds.
    virtual std::optional<RecordPlace> open() = 0;

    // The rest is called on the sink's thread, one call at a time.

    // Takes one record, whole or not at all. Throws an Exception with a message when it could not: the record is counted
    // as dropped, and the sink as down until a later one succeeds. The sink has to be fit for the next call then.
    virtual void write(const RecordPtr& record) = 0;
    // SIGHUP, always between two records. A file may have been renamed. Throws like write(), and is called again before
    // the next record then.
    virtual void reopen() {}
    // After the last record. Not called when write() still blocks two seconds after the recorder was asked to end.
    virtual void close() {}

    // How large what it keeps is. May be called on any thread.
    virtual std::optional<std::uint64_t> bytes() const { return {}; }
};

}  // namespace vexo

#endif
