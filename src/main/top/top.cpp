// SPDX-License-Identifier: MIT
// vexo-top: shows on a terminal what an engine does, or did.
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "config/ConfigFileReader.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "main/companion/Companion.h"
#include "main/companion/ErrorStream.h"
#include "main/top/Batch.h"
#include "main/top/Live.h"
#include "main/top/Replay.h"
#include "main/top/Show.h"
#include "record/RecordCollector.h"
#include "sink/SinkText.h"

namespace vexo {
namespace {

// How long threads are waited for that may be blocked.
constexpr std::int64_t kPatienceUs = 1'000'000;

std::unique_ptr<Feed> makeFeed(const TopOptions& options, const WakeUp& woken) {
    if (options.history) return std::make_unique<Replay>(*options.history, options.at, options.follow, woken);
    const auto configuration = ConfigFileReader(widen(*options.settings)).readConfiguration();
    return std::make_unique<Live>(*configuration, options.intervalMs, woken);
}

void startThreads(Feed& feed) {
    const SignalsHeld held;  // their handling is up to this thread
    feed.start();
}

void showOrPrint(const TopOptions& options, Feed& feed, const WakeUp& woken, TerminalSignals& signals) {
    if (options.batch) {
        startThreads(feed);
        return printBatch(feed, options, woken, signals);
    }
    signals.heedTerminal();
    Screen screen(options.withColours);
    startThreads(feed);
    Show(feed, screen, options, woken, signals).run();
}

// Whether nothing is left that uses the feed.
bool end(Feed& feed, const WakeUp& woken) {
    const std::int64_t endUs = RecordClocks::systemMonotonicUs() + kPatienceUs;
    feed.stop();
    while (!feed.finished()) {
        const std::int64_t leftUs = endUs - RecordClocks::systemMonotonicUs();
        if (leftUs <= 0) return false;
        woken.wait(leftUs);
    }
    return true;
}

int reportAs(int status, const Exception& error) {
    tell(narrow(reasonOf(error)));
    return status;
}

int runFeed(const TopOptions& options) {
    // Threads that are blocked in the end still use these.
    static const WakeUp woken;
    TerminalSignals signals(woken);
    std::unique_ptr<Feed> feed;
    int status = kEnded;
    try {
        feed = makeFeed(options, woken);
        showOrPrint(options, *feed, woken, signals);
    } catch (const FeedException& error) {
        status = reportAs(error.status(), error);
    } catch (const Exception& error) {
        status = reportAs(kRefused, error);
    } catch (const std::bad_alloc&) {
        tell("Out of memory");
        status = kRefused;
    }
    signals.calmDown();
    if (feed && !end(*feed, woken)) std::_Exit(status);
    return status;
}

int run(int argc, char** argv) {
    const auto options = readTopOptions(argc, argv);
    return options ? runFeed(*options) : kEnded;
}

}  // namespace
}  // namespace vexo

int main(int argc, char** argv) {
    return vexo::runCompanion("vexo-top", vexo::run, argc, argv);
}
