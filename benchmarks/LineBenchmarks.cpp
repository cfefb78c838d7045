// SPDX-License-Identifier: MIT
// A line on its way through formatter, logger and writer, to a log file that is /dev/null.
#include <benchmark/benchmark.h>

#include "output/FormatHelper.h"
#include "output/Logger.h"

namespace {

using namespace vexo;

Ref<FormatHelper> makeFormatter(std::int64_t handlers) {
    auto logger = makeRef<Logger>();
    for (std::int64_t i = 0; i < handlers; ++i)
        logger->addFileHandler(L"/dev/null");
    logger->setLevel(Level::kAll);
    return makeRef<FormatHelper>(std::move(logger));
}

void formattedLine(benchmark::State& state) {
    const auto format = makeFormatter(state.range(0));
    std::uint64_t number = 1'234'567;
    for (auto _ : state)
        format->putPieces({L"\t\t\t\t\"physical_file_size_kb\": ", ++number, L","}, 0);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(formattedLine)->Arg(0)->Arg(1)->Arg(2)->ArgName("handlers");

void header(benchmark::State& state) {
    const auto format = makeFormatter(1);
    for (auto _ : state)
        format->putHeader(L"Active File Info:  /srv/shop/data/ORDERPOS.DAT", 1);
    state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(header);

}  // namespace
