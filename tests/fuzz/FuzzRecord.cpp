// SPDX-License-Identifier: MIT
// Text that claims to be a record: it is refused, or gives a record that is written and read back unchanged.
#include <cstdlib>

#include "record/Ndjson.h"

namespace {

using namespace vexo;

std::string written(const Record& record, NdjsonFrame frame) {
    std::string text;
    appendNdjson(text, record, frame);
    return text;
}

void check(std::string_view input, NdjsonFrame frame) {
    static NdjsonReader s_reader;
    std::string_view rest = input;
    try {
        const Record record = s_reader.read(rest, 1, frame);
        if (rest.size() >= input.size()) std::abort();
        const std::string text = written(record, frame);
        std::string_view again = text;
        if (written(s_reader.read(again, 1, frame), frame) != text || !again.empty()) std::abort();
    } catch (const RecordException& error) {
        // What was written is always read, so that this can only be the first reading.
        if (error.message().empty() || rest != input) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    // A copy of exactly this size, so that reading beyond it is found.
    const std::string input(reinterpret_cast<const char*>(bytes), size);
    check(input, NdjsonFrame::kEveryLine);
    check(input, NdjsonFrame::kFirstLine);
    return 0;
}
