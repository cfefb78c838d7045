// SPDX-License-Identifier: MIT
// What a record and a key cost vexo-top, with the number of handles given. Records of every kind of view: a file per ten
// handles, a session per twenty, and for the handles of one file all of them in one.
#include <benchmark/benchmark.h>

#include <memory>

#include "LivelyEngine.h"
#include "view/Viewer.h"

namespace {

using namespace vexo;

constexpr Size kScreen = {50, 200};

// A view, and what is pressed in it first.
struct Place {
    ViewName view;
    std::vector<Key> keys;
};

Key character(char32_t c) {
    return {KeyKind::kCharacter, c};
}

const Place kPlaces[] = {
    {ViewName::kFiles,    {}                                                                    },
    {ViewName::kWaits,    {}                                                                    },
    {ViewName::kSessions, {}                                                                    },
    {ViewName::kFiles,    {{KeyKind::kEnter, 0}}                                                }, // the handles of the first file, which are all
    {ViewName::kFiles,    {{KeyKind::kEnter, 0}, character('<'), character('<'), character('F')}}, // by names, following
};

RecordPtr recordOf(std::uint32_t handles, std::uint64_t number) {
    auto record = std::make_shared<Record>(LivelyEngine(handles).record(number));
    record->files.front().handles = {0, handles};
    record->files.front().counts.all = handles;
    return record;
}

struct Shown {
    explicit Shown(const benchmark::State& state)
        : records{recordOf(static_cast<std::uint32_t>(state.range(0)), 4710),
                  recordOf(static_cast<std::uint32_t>(state.range(0)), 4711)},
          viewer(kPlaces[state.range(1)].view) {
        viewer.show(records[1], records[0]);
        viewer.picture(kScreen);
        for (const Key key : kPlaces[state.range(1)].keys) {
            viewer.press(key);
            viewer.picture(kScreen);
        }
    }
    RecordPtr records[2];
    Viewer viewer;
};

void showRecord(benchmark::State& state) {
    Shown shown(state);
    for (auto _ : state) {
        shown.viewer.show(shown.records[0], shown.records[1]);
        benchmark::DoNotOptimize(shown.viewer.picture(kScreen).lines.data());
        std::swap(shown.records[0], shown.records[1]);
    }
}
BENCHMARK(showRecord)
    ->ArgsProduct({
        {1'000, 100'000},
        { 0, 1, 2, 3, 4}
})
    ->Unit(benchmark::kMillisecond);

void pressKey(benchmark::State& state, Key key) {
    Shown shown(state);
    for (auto _ : state) {
        shown.viewer.press(key);
        benchmark::DoNotOptimize(shown.viewer.picture(kScreen).lines.data());
    }
}
BENCHMARK_CAPTURE(pressKey, down,
                  Key{
                      KeyKind::kDown, 0
})
    ->ArgsProduct({{1'000, 100'000}, {0, 1, 2, 3, 4}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(pressKey, sort,
                  Key{
                      KeyKind::kCharacter, '>'
})
    ->ArgsProduct({{100'000}, {0, 1, 2, 3}})
    ->Unit(benchmark::kMillisecond);

void typeFilter(benchmark::State& state) {
    Shown shown(state);
    shown.viewer.press(character('/'));
    for (auto _ : state) {
        shown.viewer.press(character('7'));
        shown.viewer.picture(kScreen);
        shown.viewer.press({KeyKind::kBackspace, 0});
        shown.viewer.picture(kScreen);
    }
}
BENCHMARK(typeFilter)
    ->ArgsProduct({
        {100'000},
        { 0, 1, 2, 3}
})
    ->Unit(benchmark::kMillisecond);

}  // namespace
