// SPDX-License-Identifier: MIT
// Conversions between wide text and bytes, and composition of a line.
#include <benchmark/benchmark.h>

#include "foundation/Encoding.h"
#include "foundation/Piece.h"
#include "util/Utils.h"

namespace {

using namespace vexo;

// A path of 43 characters, as engines name their files.
const std::string kPath = "/srv/shop/data/2026/quarter3/ORDERPOS00.DAT";

void widenPath(benchmark::State& state) {
    String wide;
    for (auto _ : state) {
        wide.clear();
        appendWide(wide, kPath);
        benchmark::DoNotOptimize(wide.data());
    }
}
BENCHMARK(widenPath);

void narrowPath(benchmark::State& state) {
    const String wide = widen(kPath);
    std::string bytes(maxNarrowSize(wide.size()), '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(narrowInto(bytes.data(), wide));
}
BENCHMARK(narrowPath);

void composeNumber(benchmark::State& state) {
    String line;
    std::uint64_t number = 1'234'567;
    for (auto _ : state) {
        line.assign(1, L'\t');
        line.append(L"\"page_size\": ").append(StringView(Piece(number))).append(L",");
        ++number;
        benchmark::DoNotOptimize(line.data());
    }
}
BENCHMARK(composeNumber);

void escapePath(benchmark::State& state) {
    const String wide = widen(kPath);
    for (auto _ : state) {
        String escaped = wide;
        Utils::addBackslashChars(escaped, L'\\');
        benchmark::DoNotOptimize(escaped.data());
    }
}
BENCHMARK(escapePath);

void upperCaseTitle(benchmark::State& state) {
    const String title = L"Active File Info:  " + widen(kPath);
    String upper;
    for (auto _ : state) {
        upper.clear();
        appendUpper(upper, title);
        benchmark::DoNotOptimize(upper.data());
    }
}
BENCHMARK(upperCaseTitle);

}  // namespace
