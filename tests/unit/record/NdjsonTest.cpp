// SPDX-License-Identifier: MIT
#include "record/Ndjson.h"

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Support.h"
#include "record/RecordCollector.h"

namespace {

constexpr RecordPlan kEverything = {{true, true, true, true, true}, HandleScope::kAll};

std::string ndjson(const Record& record) {
    std::string text;
    appendNdjson(text, record);
    return text;
}

Record readBack(std::string_view text) {
    return NdjsonReader().read(text);
}

// What a strict judge of JSON reads in each line.
std::vector<nlohmann::json> parsed(const std::string& text) {
    std::vector<nlohmann::json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(nlohmann::json::parse(line));
    return lines;
}

// The record that docs/RECORDS.md shows: its lines are indented by four.
std::string documented() {
    std::string text;
    std::istringstream page(contents(VEXO_RECORDS_PAGE));
    for (std::string line; std::getline(page, line);)
        if (line.rfind("    {\"v\"", 0) == 0) text += line.substr(4) + "\n";
    return text;
}

// A record with a file of one handle; the handle is in `state`, the client has this name.
Record withHandle(const HandleState& state, std::string_view client = "c", std::uint8_t flag = 'Y') {
    Record record;
    NameTable names;
    record.scope = HandleScope::kAll;
    record.sections[0].state = SectionState::kWhole;
    record.sections[0].attempts = 1;
    FileItem file;
    file.name = names.add("f");
    file.readOnly = flag;
    file.counts.all = file.handles.count = 1;
    record.files.push_back(file);
    record.fileHandles.push_back({7, names.add(client), state});
    record.names = names.take();
    return record;
}

bool matchesSchema(const std::string& text) {
    writeFile("records.ndjson", text);
    return std::system("python3 " VEXO_VALIDATOR " " VEXO_RECORDS_SCHEMA " records.ndjson") == 0;
}

}  // namespace

TEST(Ndjson, BringsBackEveryRecordOfTheSimulatedEngine) {
    ::setenv("VEXO_ENGINE_LIBRARY", VEXO_SIMULATED_ENGINE, 1);
    std::string all;
    for (const std::string scenario : {"shop", "hostile", "unsteady"}) {
        ::setenv("XRSIM_SCENARIO", (VEXO_SCENARIOS "/" + scenario + ".toml").c_str(), 1);
        QRIMonitorHelper engine(loadEngineLibrary());
        engine.connect(L"shop", L"", L"");
        for (const HandleScope scope : {HandleScope::kNone, HandleScope::kNoted, HandleScope::kAll}) {
            RecordPlan plan = kEverything;
            plan.scope = scope;
            RecordCollector collector(engine, plan);
            for (std::uint64_t number = 1; number <= 2; ++number) {
                const RecordPtr record = collector.collect({"sh\xFFop", "1.0", 3, number, 5000, {}});
                const std::string text = ndjson(*record);
                std::string_view rest = text;
                const Record again = NdjsonReader().read(rest);
                EXPECT_EQ(rest, "");
                EXPECT_EQ(ndjson(again), text) << scenario;
                std::string frameless;
                appendNdjson(frameless, *record, NdjsonFrame::kFirstLine);
                rest = frameless;
                EXPECT_EQ(ndjson(NdjsonReader().read(rest, 1, NdjsonFrame::kFirstLine)), text) << scenario;
                EXPECT_EQ(again.fileHandles.size(), record->fileHandles.size());
                EXPECT_EQ(parsed(text).size(), parsed(text).back()["items"].get<std::size_t>() + 2);
                if (number == 1) all += text;
            }
        }
        engine.disconnect();
    }
    EXPECT_TRUE(matchesSchema(all));
    // The schema is no judge if it accepts everything.
    EXPECT_FALSE(matchesSchema("{\"v\":1,\"kind\":\"end\"}\n"));
}

TEST(Ndjson, ReadsAndWritesTheDocumentedRecord) {
    const std::string text = documented();
    ASSERT_GT(text.size(), 1000U);
    EXPECT_EQ(ndjson(readBack(text)), text);
    EXPECT_TRUE(matchesSchema(text));
    // Fields come in any order and with blanks between them, and there may be more of them.
    std::string shuffled;
    for (nlohmann::json line : parsed(text)) {
        line["added_later"] = {{"file", "other"}};
        shuffled += " " + line.dump() + "\r\n";
    }
    EXPECT_EQ(ndjson(readBack(shuffled)), text);
}

TEST(Ndjson, TellsTheNumberWhereTheWordDoesNotGiveItBack) {
    const std::tuple<HandleState, std::uint8_t, std::string, std::string> rows[] = {
        {{0, 0, 'N', 0}, 'Y', R"("normal","none","none","none",)", "true"},
        {{19, 255, 'S', 1}, 'N', R"("accelerated","single","record","exclusive",)", "false"},
        {{1019, 236, 'M', 2}, 'Y', R"("exclusive_shared_locking","multiple","file","concurrent",)", "true"},
        {{65535, 251, 0, 255}, 'y', "null+251,null+0,null+255,null+65535,", "null+121"},
        {{20, 235, 's', 3}, 0, "null+235,null+115,null+3,null+20,", "null+0"}};
    for (const auto& [state, flag, codes, readOnly] : rows) {
        const Record record = withHandle(state, "c", flag);
        const auto lines = parsed(ndjson(record));
        const auto shown = [](const nlohmann::json& line, const std::string& key) {
            return line[key].dump() + (line.contains(key + "_code") ? "+" + line[key + "_code"].dump() : "");
        };
        std::string got;
        for (const char* key : {"open_mode", "record_lock", "wait", "transaction"})
            got += shown(lines[2], key) + ",";
        EXPECT_EQ(got, codes);
        EXPECT_EQ(shown(lines[1], "read_only"), readOnly);
        EXPECT_EQ(ndjson(readBack(ndjson(record))), ndjson(record));
    }
}

TEST(Ndjson, KeepsAnyBytesOfNames) {
    std::vector<std::string> names = {"\xEF\xBF\xBD", "\xF0\x9F\x98\x80", "\xED\xA0\x80",
                                      "a\xE2\x82",    "\xE2\x80\xA8",     std::string("nul\0inside", 10)};
    for (int byte = 0; byte < 256; ++byte)
        names.push_back({'<', static_cast<char>(byte), '>'});
    for (const std::string& name : names) {
        const std::string text = ndjson(withHandle({}, name));
        const nlohmann::json line = parsed(text)[2];
        std::string hex;
        for (const char byte : name)
            hex += "0123456789abcdef"[static_cast<unsigned char>(byte) / 16], hex += "0123456789abcdef"[byte & 15];
        if (line.contains("client_hex")) {
            EXPECT_EQ(line["client_hex"], hex);
            EXPECT_NE(line["client"].get<std::string>().find("\xEF\xBF\xBD"), std::string::npos);
        } else {
            EXPECT_EQ(line["client"], name);
        }
        const Record again = readBack(text);
        EXPECT_EQ(again.name(again.fileHandles[0].client), name);
    }
}

TEST(Ndjson, BringsBackAFailureWithoutAStatus) {
    Record record;
    record.sections[3] = {SectionState::kFailed, 1, 0, 0, 0, 0, "no answer"};
    EXPECT_EQ(ndjson(readBack(ndjson(record))), ndjson(record));
}

TEST(Ndjson, RefusesWhatIsNoWholeRecord) {
    const std::string whole = ndjson(withHandle({0, 251, 'N', 0}, "c\xFF"));
    const std::size_t lastLine = whole.rfind('\n', whole.size() - 2) + 1;
    const std::tuple<std::string, std::string, String> rows[] = {
        {"\"v\":1", "\"v\":2", L"1 version 2"},
        {"{\"v\":1", "[\"v\":1", L"1 no JSON"},
        {"\"kind\":\"record\"", "\"kind\":\"file\"", L"1 kind file"},
        {"1970-01-01", "1970-01-02", L"1 field time"},
        {"\"sections\":[\"files\"]", "\"sections\":[\"usage\"]", L"4 field sections"},
        {"\"kind\":\"file\"", "\"kind\":\"folder\"", L"2 kind folder"},
        {"\"kind\":\"file\"", "\"kind\":\"session\"", L"2 field session"},
        {"\"size_bytes\":0", "\"size_bytes\":-1", L"2 field size_bytes"},
        {"\"page_size_bytes\":0", "\"page_size_bytes\":4294967296", L"2 field page_size_bytes"},
        {"\"read_only\":true", "\"read_only\":\"true\"", L"2 field read_only"},
        {"\"handles\":1", "\"handles\":2", L"4 field handles"},
        {"\"of\":\"file\"", "\"of\":\"session\"", L"3 kind handle"},
        {"\"of\":\"file\",\"file\":\"f\"", "\"of\":\"file\",\"file\":\"g\"", L"3 field file"},
        {"\"client_index\":7", "\"client_index\":7.5", L"3 field client_index"},
        {"\"client_index\":7,", "", L"3 field client_index"},
        {"\"client_hex\":\"63ff\"", "\"client_hex\":\"63fe\"", L"nothing"},
        {"\"client_hex\":\"63ff\"", "\"client_hex\":\"64ff\"", L"3 field client"},
        {"\"client_hex\":\"63ff\"", "\"client_hex\":\"63f\"", L"3 field client"},
        {"\"open_mode\":null", "\"open_mode\":\"normal\"", L"3 field open_mode"},
        {"\"open_mode_code\":251", "\"open_mode_code\":0", L"3 field open_mode"},
        {"\"open_mode_code\":251", "\"open_mode_code\":507", L"3 field open_mode"},
        {"\"record_lock\":\"none\"", "\"record_lock\":\"None\"", L"3 field record_lock"},
        {"\"items\":2", "\"items\":3", L"4 field items"},
        {"\"status\":0", "\"status\":3", L"4 field failed_sections"},
        {"\"failed_sections\":[]", "\"failed_sections\":[\"files\"]", L"4 field files"},
        {"\"failed_sections\":[]", "\"failed_sections\":[\"usage\"]", L"4 field failed_sections"},
        {whole.substr(lastLine), "", L"4 cut"},
        {whole.substr(lastLine), whole.substr(lastLine, whole.size() - lastLine - 1), L"4 cut"},
        {whole, "", L"1 cut"}};
    for (const auto& [part, replacement, wanted] : rows) {
        std::string text = whole;
        ASSERT_NE(text.rfind(part), std::string::npos) << part;
        text.replace(text.find(part), part.size(), replacement);
        std::string_view rest = text;
        const String got = failure([&] { NdjsonReader().read(rest); });
        EXPECT_EQ(got, wanted == L"nothing" ? wanted : L"RecordException: " + wanted) << part;
        EXPECT_EQ(rest == text, wanted != L"nothing") << part;
    }
    // Lines that do not say whose they are.
    std::string frameless;
    appendNdjson(frameless, readBack(whole), NdjsonFrame::kFirstLine);
    std::string_view unframed = frameless;
    EXPECT_EQ(failure([&] { NdjsonReader().read(unframed); }), L"RecordException: 2 field v");
    // The lines of two records that got mixed up.
    Record other = readBack(whole);
    other.number = 1;
    const std::string lines = whole.substr(0, lastLine) + ndjson(other).substr(lastLine);
    std::string_view mixed = lines;
    EXPECT_EQ(failure([&] { NdjsonReader().read(mixed); }), L"RecordException: 4 field rec");
}
