// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <thread>

#include "Support.h"
#include "export/MetricsPage.h"
#include "export/Textfile.h"
#include "export/TextfileSink.h"
#include "record/Codes.h"

namespace {

constexpr std::int64_t kStartUs = 1'000'000'000;
std::int64_t s_nowUs = 0;

// The samples that a strict judge reads, a line each.
std::string judged(const std::string& text, const std::string& format) {
    writeFile("metrics", text);
    if (format == "text") {
        EXPECT_EQ(std::system(VEXO_PROMTOOL " check metrics < metrics >&2"), 0);
    }
    EXPECT_EQ(std::system((VEXO_JUDGE " " + format + " metrics > judged").c_str()), 0) << text;
    return contents("judged");
}

// An engine that waits, locks and works, of as many files, protocols and connections as asked for.
Record engineOf(std::uint32_t items, std::string_view name = "n", std::string_view version = "16.11.006") {
    Record record;
    NameTable names;
    record.epochMs = 1'795'269'800'500;
    record.monotonicUs = kStartUs;
    record.tookUs = 2417;
    record.intervalMs = 10'000;
    record.scope = HandleScope::kAll;
    record.engineVersion = names.add(version);
    for (SectionResult& section : record.sections)
        section.state = SectionState::kWhole;
    record.usage.emplace();
    record.usage->sessions = {19, 20, 20};
    record.usage->users = {~std::uint64_t{0}, 1, -5};
    record.usage->uptimeSeconds = 198'800;
    record.communication.emplace();
    record.communication->requests = 902'211;
    for (std::uint32_t place = 0; place < items; ++place) {
        const NameId own = names.add(std::string(name) + std::to_string(place));
        record.protocols.push_back({place, 10, 1, 1});
        record.connections.push_back({own, own, own, own, own, static_cast<std::uint16_t>(place), 0, 0});
        record.files.push_back({own, 4096, 0, 0, 0, 0, {1, 1, 1}, {place, 1}});
        const auto code = static_cast<std::uint8_t>(place);
        record.fileHandles.push_back({place, own, {code, code, place % 3 == 0 ? kSingleLock : kMultipleLocks, code}});
        record.waits.push_back({own, own, place, code, 0, place * std::uint64_t{1500}});
    }
    record.names = names.take();
    return record;
}

class Exposition : public testing::Test {
protected:
    void SetUp() override { s_nowUs = kStartUs; }
    std::vector<SinkHealth> m_sinks = {
        {"history", true, 0, 4096}, {"csv", true, 1, {}}, {"csv", false, 2, {}}, {"invented\n", true, 0, {}}};
    MetricsPage m_page{60'000, [this] { return m_sinks; }, [] { return s_nowUs; }};
};

std::size_t linesOf(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// The page's samples of a name, as it wrote them.
std::string samplesOf(const std::string& page, const std::string& start) {
    std::istringstream lines(page);
    std::string found;
    for (std::string line; std::getline(lines, line);)
        if (line.rfind(start, 0) == 0 && (line[start.size()] == ' ' || line[start.size()] == '{'))
            found += line.substr(start.size()) + ";";
    return found;
}

}  // namespace

TEST_F(Exposition, TellsTheNumbersOfTheRecord) {
    m_page.update(engineOf(5));
    const std::string page = m_page.render(ExpositionFormat::kOpenMetrics);
    const std::tuple<const char*, const char*> rows[] = {
        {"vexo_up", " 1;"},
        {"vexo_sessions", " 19;"},
        {"vexo_sessions_limit", " 20;"},
        {"vexo_users", " 18446744073709551615;"},
        {"vexo_users_limit", " -5;"},
        {"vexo_locks_limit", " +Inf;"},
        {"vexo_data_in_use_limit_bytes", " +Inf;"},
        {"vexo_requests_total", " 902211;"},
        {"vexo_protocol_requests_total", "{protocol=\"spx\"} 10;{protocol=\"tcp_ip\"} 10;{protocol=\"other\"} 30;"},
        {"vexo_connections", "{status=\"idle\"} 1;{status=\"active\"} 1;{status=\"dying\"} 3;"},
        {"vexo_handles_waiting", "{for=\"record\"} 1;{for=\"file\"} 1;{for=\"other\"} 3;"},
        {"vexo_handles_locking", "{lock=\"single\"} 2;{lock=\"multiple\"} 3;"},
        {"vexo_oldest_wait_seconds", " 6;"},
        {"vexo_engine_start_time_seconds", " 1795071000.5;"},
        {"vexo_engine_info", "{version=\"16.11.006\"} 1;"},
        {"vexo_record_duration_seconds", " 0.002417;"},
        {"vexo_last_record_timestamp_seconds", " 1795269800.5;"},
        {"vexo_agent_sink_up", "{sink=\"history\"} 1;{sink=\"csv\"} 0;"},
        {"vexo_agent_records_dropped_total", "{sink=\"history\"} 0;{sink=\"csv\"} 3;"},
        {"vexo_agent_history_bytes", " 4096;"},
        {"# UNIT vexo_data_in_use_bytes", " bytes;"},
        {"# TYPE vexo_requests", " counter;"},
    };
    for (const auto& [name, samples] : rows)
        EXPECT_EQ(samplesOf(page, name), samples) << name;
    EXPECT_EQ(samplesOf(m_page.render(ExpositionFormat::kText), "# TYPE vexo_requests_total"), " counter;");
    // Every family is documented; the peaks and limits are in words.
    const std::string documentation = contents(VEXO_METRICS_DOCUMENTATION);
    const std::string families = samplesOf(m_page.render(ExpositionFormat::kText), "# TYPE");
    ASSERT_GT(std::count(families.begin(), families.end(), ';'), 40);
    std::istringstream names(families);
    for (std::string name; std::getline(names, name, ';');) {
        name = name.substr(1, name.rfind(' ') - 1);
        const bool inWords = std::regex_search(name, std::regex("_(peak|limit)$"));
        EXPECT_TRUE(inWords || documentation.find("`" + name + "`") != std::string::npos) << name;
    }
    // Both judges read the same samples.
    const std::string judgedPage = judged(page, "openmetrics");
    EXPECT_EQ(judgedPage, judged(m_page.render(ExpositionFormat::kText), "text"));
}

TEST_F(Exposition, StaysSmallAndReadableWhateverTheEngineSays) {
    const std::string hostile = "a\"b\\c\nd\r\x1b\xFF# EOF{}";
    m_page.update(engineOf(5));
    const std::size_t few = linesOf(judged(m_page.render(ExpositionFormat::kOpenMetrics), "openmetrics"));
    m_page.update(engineOf(20'000, hostile, hostile));
    const std::string page = m_page.render(ExpositionFormat::kOpenMetrics);
    const std::string samples = judged(page, "openmetrics");
    EXPECT_EQ(page.find("EOF{}"), std::string::npos);
    EXPECT_EQ(linesOf(samples), few) << "netbios came, the version went";
    m_sinks = {{"history", true, 0, 1},
               {"ndjson", true, 0, {}},
               {"csv", true, 0, {}},
               {"metrics", true, 0, {}},
               {"textfile", true, 0, {}}};
    m_page.update(engineOf(20'000));
    EXPECT_LE(linesOf(judged(m_page.render(ExpositionFormat::kOpenMetrics), "openmetrics")), 100U);
    // The server's name is the only text from outside, and comes back.
    for (const ExpositionFormat format : {ExpositionFormat::kText, ExpositionFormat::kOpenMetrics}) {
        const char* const judge = format == ExpositionFormat::kText ? "text" : "openmetrics";
        const std::string named = judged(m_page.render(format, hostile), judge);
        EXPECT_EQ(named.find("vexo_up [('server', 'a\"b\\\\c\\nd \\x1b\xEF\xBF\xBD# EOF{}')] 1.0"),
                  named.find("vexo_up"))
            << named;
    }
}

TEST_F(Exposition, TellsNothingOfAnEngineThatIsNotUp) {
    const auto failing = [](std::size_t sections) {
        Record record = engineOf(5);
        for (std::size_t place = 0; place < sections; ++place)
            record.sections[place].state = SectionState::kFailed;
        record.epochMs += 10'000;
        return record;
    };
    Record slow = engineOf(5);
    slow.intervalMs = 30'000;
    Record partial = engineOf(5);
    partial.sections[0].state = SectionState::kOff;
    const std::tuple<const char*, std::optional<Record>, std::int64_t, bool, const char*, const char*> rows[] = {
        // record, seconds later, up, files section, last record
        {"none yet", {}, 0, false, "", ""},
        {"whole", engineOf(5), 0, true, "1", "800.5"},
        {"whole, before the stall", engineOf(5), 59, true, "1", "800.5"},
        {"whole, at the stall", engineOf(5), 61, false, "", "800.5"},
        {"three intervals are longer", slow, 89, true, "1", "800.5"},
        {"three intervals are over", slow, 91, false, "", "800.5"},
        {"a section off", partial, 0, true, "", "800.5"},
        {"a section failed", failing(1), 0, false, "0", "810.5"},
        {"all failed", failing(kSections), 0, false, "0", "800.5"},
    };
    std::string pageOfTheDown;
    for (const auto& [what, record, seconds, up, files, last] : rows) {
        MetricsPage page(60'000, {}, [] { return s_nowUs; });
        s_nowUs = kStartUs;
        if (record) page.update(engineOf(5));
        if (record) page.update(*record);
        s_nowUs += seconds * 1'000'000;
        const std::string text = page.render(ExpositionFormat::kOpenMetrics);
        const std::string success = samplesOf(text, "vexo_section_success{section=\"files\"}");
        EXPECT_EQ(page.isUp(), up) << what;
        EXPECT_EQ(samplesOf(text, "vexo_up"), up ? " 1;" : " 0;") << what;
        EXPECT_EQ(samplesOf(text, "vexo_sessions").empty(), !up) << what;
        EXPECT_EQ(text.find("vexo_engine") == std::string::npos, !up) << what;
        EXPECT_NE(text.find(*files ? "vexo_section_success{section=\"files\"} " + std::string(files) : ""),
                  std::string::npos)
            << what;
        EXPECT_EQ(text.find("section=\"files\"") != std::string::npos, *files != 0) << what;
        EXPECT_EQ(samplesOf(text, "vexo_last_record_timestamp_seconds"),
                  *last ? " 1795269" + std::string(last) + ";" : "")
            << what;
        pageOfTheDown = text;
    }
    judged(pageOfTheDown, "openmetrics");
}

TEST_F(Exposition, KeepsTheStartOfTheEngineSteady) {
    Record record = engineOf(1);
    for (const auto& [later, uptime, start] : std::initializer_list<std::tuple<int, unsigned, const char*>>{
             {0, 198'800, " 1795071000.5;"}, {10'900, 198'810, " 1795071000.5;"}, {20'000, 5, " 1795269815.5;"}}) {
        record.epochMs = 1'795'269'800'500 + later;
        record.usage->uptimeSeconds = uptime;
        m_page.update(record);
        EXPECT_EQ(samplesOf(m_page.render(ExpositionFormat::kText), "vexo_engine_start_time_seconds"), start);
    }
}

TEST(Textfile, IsReplacedAsAWhole) {
    ::umask(077);
    const std::string texts[] = {std::string(100'000, 'a'), std::string(200'000, 'b')};
    std::atomic<bool> done = false;
    Textfile file("vexo.prom");
    file.replace(texts[0]);
    std::thread writer([&] {
        for (int round = 0; round < 200; ++round)
            file.replace(texts[round % 2]);
        done = true;
    });
    while (!done) {
        const std::string found = contents("vexo.prom");
        ASSERT_TRUE(found == texts[0] || found == texts[1]) << found.size();
    }
    writer.join();
    ::umask(022);
    EXPECT_EQ(std::filesystem::status("vexo.prom").permissions(), std::filesystem::perms(0644));
    EXPECT_EQ(failure([] { Textfile("vexo.prom").replace("another's"); }), L"Exception: vexo.prom in use");
    std::filesystem::rename("vexo.prom", "moved.prom");
    Textfile("vexo.prom").replace("another's, which has ended");
    // What somebody put in the way is not written through.
    std::filesystem::create_symlink("victim", "vexo.prom.tmp");
    file.replace("new");
    EXPECT_EQ(contents("vexo.prom"), "new");
    EXPECT_FALSE(std::filesystem::exists("victim"));
    std::filesystem::create_directory("taken.prom");
    EXPECT_EQ(failure([] { Textfile("taken.prom").replace("x"); }), L"StreamException: taken.prom: Is a directory");
    EXPECT_FALSE(std::filesystem::exists("taken.prom.tmp"));
    ::mkfifo("fifo.prom", 0600);
    EXPECT_EQ(failure([] { Textfile("fifo.prom").replace("x"); }), L"Exception: fifo.prom stays");
}

TEST(Textfile, FollowsTheRecords) {
    TextfileSink sink("vexo.prom", "shop", 60'000, {});
    sink.open();
    EXPECT_EQ(samplesOf(contents("vexo.prom"), "vexo_up{server=\"shop\"}"), " 0;");
    Record record = engineOf(3);
    record.monotonicUs = RecordClocks::systemMonotonicUs();
    sink.write(std::make_shared<Record>(record));
    EXPECT_EQ(samplesOf(contents("vexo.prom"), "vexo_sessions{server=\"shop\"}"), " 19;");
    EXPECT_EQ(failure([] { TextfileSink("missing/vexo.prom", "", 0, {}).open(); }),
              L"Exception: missing/vexo.prom: No such file or directory");
}
