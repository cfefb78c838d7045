// SPDX-License-Identifier: MIT
// Records of the engine, and what follows from two of them.
#include <map>

#include "Support.h"
#include "record/Identity.h"
#include "record/Rates.h"
#include "record/RecordCollector.h"
#include "record/Waits.h"

namespace {

// A record that tells of files and their handles, built by hand.
struct Files {
    struct Handle {
        std::string client;
        HandleState state;
        std::uint32_t index = 1;
    };
    Files& at(std::uint64_t run, std::int64_t epochMs, std::int64_t monotonicUs) {
        record.run = run;
        record.epochMs = epochMs;
        record.monotonicUs = monotonicUs;
        return *this;
    }
    Files& file(const std::string& name, const std::vector<Handle>& handles) {
        record.sections[0].state = SectionState::kWhole;
        FileItem file;
        file.name = names.add(name);
        file.handles = {static_cast<std::uint32_t>(record.fileHandles.size()),
                        static_cast<std::uint32_t>(handles.size())};
        for (const Handle& handle : handles) {
            file.counts.waiting += handle.state.waitState != 0 ? 1U : 0U;
            record.fileHandles.push_back({handle.index, names.add(handle.client), handle.state});
        }
        record.files.push_back(file);
        return *this;
    }
    Record build(const Record* before = nullptr) {
        record.names = names.take();
        addWaits(record, before);
        return std::move(record);
    }
    Record record;
    NameTable names;
};

constexpr HandleState kIdle = {0, 0, 'N', 0};
constexpr HandleState kWaits = {0, 0, 'N', 1};
constexpr HandleState kWaitsForFile = {0, 0, 'N', 2};

std::string shown(const Record& record) {
    std::string text;
    for (const WaitItem& wait : record.waits) {
        text += std::string(record.name(wait.file)) + "/" + std::string(record.name(wait.client)) + " " +
                std::to_string(wait.sinceMs) + "+" + std::to_string(wait.waitedMs) + "; ";
    }
    return text;
}

// One record of an engine that plays `scenario`.
RecordPtr collected(const std::string& scenario, HandleScope scope) {
    writeFile("scenario.toml", scenario);
    ::setenv("XRSIM_SCENARIO", "scenario.toml", 1);
    ::setenv("VEXO_ENGINE_LIBRARY", VEXO_SIMULATED_ENGINE, 1);
    QRIMonitorHelper engine(loadEngineLibrary());
    engine.connect(L"shop", L"", L"");
    RecordCollector collector(engine, {{true, true, true, true, true}, scope});
    RecordPtr record = collector.collect({"shop", "1.0", 1, 1, 0, {}});
    engine.disconnect();
    return record;
}

}  // namespace

TEST(RecordCollector, ReportsASectionThatFailsAndGoesOn) {
    const std::string items =
        "[[file]]\nname = 'f'\n[[file]]\nname = 'g'\n[[session]]\n[[session]]\nhandle = [{ file = 'f' "
        "}]\n[[connection]]\n";
    // The fault; then of files, sessions, connections, usage and communications: items or minus the status, attempts,
    // items that vanished.
    const std::tuple<std::string, std::string> rows[] = {
        {"", "2*1~0 2*1~0 1*1~0 1*1~0 1*1~0"},
        {"function = 'XrGetFileInfo2'\nstatus = 3005", "-3005*1~0 2*1~0 1*1~0 1*1~0 1*1~0"},
        {"function = 'XrGetFileInfo2'\nstatus = 7015\ncall = 1", "1*1~1 2*1~0 1*1~0 1*1~0 1*1~0"},
        {"function = 'XrGetKesdClientInfo'\nstatus = 7010\ncall = 1", "2*1~0 1*1~1 1*1~0 1*1~0 1*1~0"},
        {"function = 'XrGetKesdClientHandlesData'\nstatus = 7010\ncall = 2", "2*1~0 2*2~0 1*1~0 1*1~0 1*1~0"},
        {"function = 'XrGetKesdClientHandlesData'\nstatus = 7010", "2*1~0 -7010*2~0 1*1~0 1*1~0 1*1~0"},
        {"function = 'XrGetKesdClientHandleInfo'\nstatus = 7010", "2*1~0 2*1~1 1*1~0 1*1~0 1*1~0"},
        {"function = 'XrGetKesdUsageEx2'\nstatus = -9", "2*1~0 2*1~0 1*1~0 -9*1~0 1*1~0"},
        {"function = 'XrGetKesdVersion'\nlose_connection = true", "-3005*1~0 -3005*1~0 -3005*1~0 -3005*1~0 -3005*1~0"}};
    for (const auto& [fault, wanted] : rows) {
        const RecordPtr record = collected(items + (fault.empty() ? "" : "[[fault]]\n" + fault), HandleScope::kAll);
        const std::size_t counts[] = {record->files.size(), record->sessions.size(), record->connections.size(),
                                      record->usage.has_value(), record->communication.has_value()};
        std::string got;
        for (std::size_t place = 0; place < kSections; ++place) {
            const SectionResult& result = record->sections[place];
            got += (place == 0 ? "" : " ") +
                   (result.status != 0 ? std::to_string(-std::abs(result.status)) : std::to_string(counts[place])) +
                   "*" + std::to_string(result.attempts) + "~" + std::to_string(result.vanished);
            EXPECT_EQ(result.text.empty(), result.status == 0);
        }
        EXPECT_EQ(got, wanted) << fault;
        EXPECT_EQ(record->name(record->engineVersion).empty(), fault.find("Version") != std::string::npos);
    }
}

TEST(RecordCollector, ListsTheHandlesAskedForAndCountsAll) {
    const std::string scenario =
        "[[file]]\nname = 'f'\nhandle = [{}, { wait_state = 1 }, { record_lock = 'S' }, { transaction_state = 19 }, "
        "{}]\n[[file]]\nname = 'g'\n";
    const std::tuple<HandleScope, std::size_t, std::uint32_t, std::size_t> rows[] = {
        {HandleScope::kNone, 0, 0, 0}, {HandleScope::kNoted, 3, 5, 1}, {HandleScope::kAll, 5, 5, 1}};
    for (const auto& [scope, listed, counted, waits] : rows) {
        const RecordPtr record = collected(scenario, scope);
        ASSERT_EQ(record->files.size(), 2U);
        EXPECT_EQ(record->fileHandles.size(), listed);
        EXPECT_EQ(record->files[0].counts.all, counted);
        EXPECT_EQ(record->files[0].counts.locking, counted / 5);
        EXPECT_EQ(record->waits.size(), waits);
    }
}

TEST(Waits, GoOnFromOneRecordToTheNext) {
    const Record first = Files().at(1, 1000, 500'000).file("a", {{"x", kWaits}, {"x", kWaits}}).build();
    EXPECT_EQ(shown(first), "a/x 1000+0; a/x 1000+0; ");
    const Record second = Files()
                              .at(1, 9000, 3'500'999)
                              .file("b", {{"x", kWaits}})
                              .file("a", {{"x", kIdle}, {"y", kWaits}, {"x", kWaits}, {"x", kWaits, 2}})
                              .build(&first);
    EXPECT_EQ(shown(second), "b/x 9000+0; a/y 9000+0; a/x 1000+3000; a/x 9000+0; ");
    // Another run of the recorder has another monotonic clock; something else that is waited for is another wait.
    const Record third = Files().at(2, 10'000, 7).file("a", {{"x", kWaits}, {"y", kWaitsForFile}}).build(&second);
    EXPECT_EQ(shown(third), "a/x 1000+4000; a/y 10000+0; ");
    Files restarted;
    restarted.at(2, 11'000, 1'000'007).file("a", {{"x", kWaits}}).record.usage = Usage();
    Record running = third;
    running.usage = Usage();
    running.usage->uptimeSeconds = 1;
    EXPECT_EQ(shown(restarted.build(&running)), "a/x 11000+0; ");
}

TEST(Waits, NameThoseThatMayHoldTheLockInTheirOrder) {
    const Record record = Files()
                              .file("a", {{"transaction", {1019, 0, 'N', 0}},
                                          {"waiter", {19, 0, 'S', 0}},
                                          {"idle", kIdle},
                                          {"lock", {0, 0, 'M', 0}},
                                          {"waiter", kWaits},
                                          {"also waiting", {19, 0, 'S', 1}},
                                          {"exclusive", {19, 0, 'N', 0}},
                                          {"mode", {0, 244, 'N', 0}}})
                              .file("b", {{"elsewhere", {19, 0, 'S', 0}}})
                              .build();
    std::string got;
    for (const std::uint32_t place : mayHold(record, record.waits[0]))
        got += std::string(record.name(record.fileHandles[place].client)) + " ";
    EXPECT_EQ(got, "exclusive mode lock transaction ");
}

TEST(Identity, MatchesItemsByWhatNamesThem) {
    const Record before = Files().file("twin", {{"x", kIdle}}).file("gone", {}).file("twin", {{"y", kIdle}}).build();
    const Record now = Files()
                           .file("new", {{"x", kIdle}})
                           .file("twin", {{"y", kWaits}, {"x", kIdle, 2}})
                           .file("twin", {{"x", kIdle}})
                           .file("twin", {})
                           .build();
    EXPECT_EQ(matchFiles(before, now), (Matches{kNew, 0, 2, kNew}));
    EXPECT_EQ(matchFileHandles(before, now), (Matches{kNew, 1, kNew, 0}));
}

TEST(Rates, AreUnknownWhereTheRecordsCannotBeCompared) {
    Record before;
    before.run = 1;
    before.monotonicUs = 1'000'000;
    before.sections[4].state = before.sections[3].state = SectionState::kWhole;
    before.usage = Usage();
    before.usage->uptimeSeconds = 100;
    before.communication = Communication();
    before.communication->requests = 500;
    before.communication->connectionTimeouts = 5;
    Record now = before;
    now.monotonicUs = 3'000'000;
    now.sections[4].startedUs = 500'000;
    now.communication->requests = 1000;
    now.communication->connectionTimeouts = 4;
    const CommunicationRates rates = communicationRates(before, now);
    EXPECT_EQ(rates.requests, 200.0);
    EXPECT_EQ(rates.connectionTimeouts, std::nullopt);
    EXPECT_EQ(rates.connectionRecoveries, 0.0);
    using Change = void (*)(Record&);
    const Change changes[] = {[](Record& record) { record.run = 2; }, [](Record& record) { record.monotonicUs = 0; },
                              [](Record& record) { record.usage->uptimeSeconds = 99; },
                              [](Record& record) { record.sections[4].state = SectionState::kFailed; }};
    for (const Change change : changes) {
        Record other = now;
        change(other);
        EXPECT_EQ(communicationRates(before, other).requests, std::nullopt) << &change - changes;
    }
    SessionItem old;
    SessionItem session;
    session.diskAccesses = 1;
    session.cacheAccesses = 3;
    EXPECT_EQ(sessionRates(old, session, 2.0).cacheShare, 0.75);
    EXPECT_EQ(sessionRates(old, session, 2.0).cacheAccesses, 1.5);
    EXPECT_EQ(sessionRates(session, session, 2.0).cacheShare, std::nullopt);
    EXPECT_EQ(growthOf({0, 0, 4096, 0, 0, 0, {}, {}}, {0, 0, 1024, 0, 0, 0, {}, {}}, 2.0), -1536.0);
}
