// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "messages/MessageHelper.h"
#include "record/Codes.h"
#include "record/Ndjson.h"
#include "record/NdjsonFields.h"
#include "record/NdjsonFrame.h"

namespace vexo {
namespace {

template <typename... Arguments>
[[noreturn]] void fail(const char* key, Arguments... arguments) {
    throw RecordException(MessageHelper("AGENT", "AGENT_").getResStr(key, arguments...));
}

int messageNumber(std::size_t number) {
    return static_cast<int>(std::min<std::size_t>(number, std::numeric_limits<int>::max()));
}

// A line of this kind cannot stand here.
struct Misplaced {
    std::string kind;
};

struct OtherVersion {
    std::uint64_t version;
};

constexpr Section kNeither = Section::kUsage;

// Builds one record from its lines.
class RecordReader {
public:
    explicit RecordReader(NdjsonFrame frame) : m_frame(frame) {}
    // Takes the next line; gives whether it was the last.
    bool take(std::string_view line, simdjson::dom::object object);
    Record finish() {
        m_record.names = m_names.take();
        return std::move(m_record);
    }

private:
    using BySection = std::array<bool, kSections>;

    void checkFrame(Fields& fields) const;
    void takeItem(std::string_view kind, Fields& fields);
    void takeHead(Fields& fields);
    void takeUsage(Fields& fields);
    void takeCommunication(Fields& fields);
    void takeProtocol(Fields& fields);
    void takeFile(Fields& fields);
    void takeSession(Fields& fields);
    void takeHandle(Fields& fields);
    void takeConnection(Fields& fields);
    void takeWait(Fields& fields);
    void takeEvent(Fields& fields);
    void takeEnd(Fields& fields);
    void takeSection(Fields fields);
    void checkContents() const;
    template <typename Item>
    void checkCounts(const std::vector<Item>& items) const;

    NameId name(Fields& fields, std::string_view key) { return m_names.add(fields.text(key)); }
    static Amount amount(Fields& fields, std::string_view key);
    static BySection sections(Fields& fields, const char* key);
    static HandleState state(Fields& fields);
    HandleCounts counts(Fields& fields) const;

    const NdjsonFrame m_frame;
    Record m_record;
    NameTable m_names;
    std::string m_prefix;  // of every line, as the writer has it; empty before the first
    std::uint64_t m_items = 0;
    BySection m_asked{};
    BySection m_failed{};
    Section m_open = kNeither;  // whose handles may follow: those of files, of sessions, or none
};

bool RecordReader::take(std::string_view line, simdjson::dom::object object) {
    Fields fields(object);
    if (m_prefix.empty()) {
        takeHead(fields);
        return false;
    }
    if (m_frame == NdjsonFrame::kEveryLine && line.substr(0, m_prefix.size()) != m_prefix) checkFrame(fields);
    const std::string_view kind = fields.word("kind");
    if (kind == "end") {
        takeEnd(fields);
        return true;
    }
    ++m_items;
    takeItem(kind, fields);
    return false;
}

void RecordReader::checkFrame(Fields& fields) const {
    if (fields.number<std::uint64_t>("v") != kNdjsonVersion) throw FieldError{"v"};
    if (fields.text("server") != m_names[m_record.server]) throw FieldError{"server"};
    if (fields.number<std::uint64_t>("run") != m_record.run) throw FieldError{"run"};
    if (fields.number<std::uint64_t>("rec") != m_record.number) throw FieldError{"rec"};
    if (fields.instant("time", "epoch_ms") != m_record.epochMs) throw FieldError{"time"};
}

void RecordReader::takeItem(std::string_view kind, Fields& fields) {
    struct Kind {
        std::string_view word;
        void (RecordReader::*take)(Fields&);
    };
    constexpr Kind kKinds[] = {
        {"handle",        &RecordReader::takeHandle       },
        {"file",          &RecordReader::takeFile         },
        {"session",       &RecordReader::takeSession      },
        {"connection",    &RecordReader::takeConnection   },
        {"wait",          &RecordReader::takeWait         },
        {"event",         &RecordReader::takeEvent        },
        {"usage",         &RecordReader::takeUsage        },
        {"communication", &RecordReader::takeCommunication},
        {"protocol",      &RecordReader::takeProtocol     },
    };
    for (const Kind& known : kKinds) {
        if (known.word != kind) continue;
        if (kind != "handle") m_open = kNeither;
        (this->*known.take)(fields);
        return;
    }
    throw Misplaced{std::string(kind)};
}

void RecordReader::takeHead(Fields& fields) {
    const auto version = fields.number<std::uint64_t>("v");
    if (version != kNdjsonVersion) throw OtherVersion{version};
    m_record.server = name(fields, "server");
    m_record.run = fields.number<std::uint64_t>("run");
    m_record.number = fields.number<std::uint64_t>("rec");
    m_record.epochMs = fields.instant("time", "epoch_ms");
    const std::string_view kind = fields.word("kind");
    if (kind != "record") throw Misplaced{std::string(kind)};
    m_record.recorder = name(fields, "recorder");
    m_record.engineVersion = fields.isNull("engine_version") ? kNoName : name(fields, "engine_version");
    m_record.engineType = fields.optionalNumber<std::uint32_t>("engine_type");
    m_asked = sections(fields, "sections");
    const auto scope = scopeOf(fields.word("handles"));
    if (!scope) throw FieldError{"handles"};
    m_record.scope = *scope;
    m_record.intervalMs = fields.optionalNumber<std::uint64_t>("interval_ms").value_or(0);
    m_record.monotonicUs = fields.number<std::int64_t>("monotonic_us");
    m_prefix = ndjsonPrefix(m_names[m_record.server], m_record);
}

Amount RecordReader::amount(Fields& fields, std::string_view key) {
    Fields parts(fields.object(key));
    Amount amount;
    amount.current = parts.number<std::uint64_t>("current");
    amount.peak = parts.number<std::uint64_t>("peak");
    amount.limit = parts.optionalNumber<std::int64_t>("max").value_or(0);
    return amount;
}

// Which words a list holds.
RecordReader::BySection RecordReader::sections(Fields& fields, const char* key) {
    BySection listed{};
    for (const simdjson::dom::element element : fields.array(key)) {
        std::string_view word;
        const auto section = element.get(word) == simdjson::SUCCESS ? sectionOf(word) : std::nullopt;
        if (!section) throw FieldError{key};
        listed[static_cast<std::size_t>(*section)] = true;
    }
    return listed;
}

HandleCounts RecordReader::counts(Fields& fields) const {
    const auto all = fields.optionalNumber<std::uint32_t>("handles");
    const auto waiting = fields.optionalNumber<std::uint32_t>("waiting");
    const auto locking = fields.optionalNumber<std::uint32_t>("locking");
    const bool known = m_record.scope != HandleScope::kNone;
    for (const auto& count : {all, waiting, locking})
        if (count.has_value() != known) throw FieldError{"handles"};
    return {all.value_or(0), waiting.value_or(0), locking.value_or(0)};
}

HandleState RecordReader::state(Fields& fields) {
    HandleState state;
    state.openMode = fields.code<std::uint8_t>(Codes::kOpenMode, "open_mode");
    state.recordLock = fields.code<std::uint8_t>(Codes::kRecordLock, "record_lock");
    state.waitState = fields.code<std::uint8_t>(Codes::kWaitState, "wait");
    state.transactionState = fields.code<std::uint16_t>(Codes::kTransactionState, "transaction");
    return state;
}

void RecordReader::takeUsage(Fields& fields) {
    if (m_record.usage) throw Misplaced{"usage"};
    Usage usage;
    usage.users = amount(fields, "users");
    usage.files = amount(fields, "files");
    usage.handles = amount(fields, "handles");
    usage.transactions = amount(fields, "transactions");
    usage.clients = amount(fields, "clients");
    usage.workerThreads = amount(fields, "worker_threads");
    usage.locks = amount(fields, "locks");
    usage.dataInUseBytes = amount(fields, "data_in_use_bytes");
    usage.sessions = amount(fields, "sessions");
    usage.uptimeSeconds = fields.number<std::uint64_t>("uptime_s");
    m_record.usage = usage;
}

void RecordReader::takeCommunication(Fields& fields) {
    if (m_record.communication) throw Misplaced{"communication"};
    Communication communication;
    communication.requests = fields.number<std::uint64_t>("requests");
    communication.remoteSessions = amount(fields, "remote_sessions");
    communication.threads = amount(fields, "threads");
    communication.connectionTimeouts = fields.number<std::uint64_t>("connection_timeouts");
    communication.connectionRecoveries = fields.number<std::uint64_t>("connection_recoveries");
    const simdjson::dom::array counts = fields.array("further_counts");
    if (counts.size() != communication.furtherCounts.size()) throw FieldError{"further_counts"};
    std::size_t place = 0;
    for (const simdjson::dom::element count : counts)
        communication.furtherCounts[place++] = Fields::toNumber<std::uint64_t>("further_counts", count);
    m_record.communication = communication;
}

void RecordReader::takeProtocol(Fields& fields) {
    ProtocolItem protocol;
    protocol.type = fields.code<std::uint32_t>(Codes::kProtocol, "protocol");
    protocol.requests = fields.number<std::uint64_t>("requests");
    protocol.sessionsCurrent = fields.number<std::uint64_t>("remote_sessions_current");
    protocol.sessionsPeak = fields.number<std::uint64_t>("remote_sessions_peak");
    m_record.protocols.push_back(protocol);
}

void RecordReader::takeFile(Fields& fields) {
    FileItem file;
    file.name = name(fields, "file");
    file.sizeBytes = fields.number<std::uint64_t>("size_bytes");
    file.pageSizeBytes = fields.number<std::uint32_t>("page_size_bytes");
    file.readOnly = fields.code<std::uint8_t>(Codes::kFlag, "read_only");
    file.readLocks = fields.code<std::uint8_t>(Codes::kFlag, "read_locks");
    file.transactionLock = fields.code<std::uint8_t>(Codes::kFlag, "transaction_lock");
    file.counts = counts(fields);
    file.handles.first = static_cast<std::uint32_t>(m_record.fileHandles.size());
    m_record.files.push_back(file);
    m_open = Section::kFiles;
}

void RecordReader::takeSession(Fields& fields) {
    SessionItem session;
    session.name = name(fields, "session");
    session.clientId = name(fields, "client_id");
    session.idWord = fields.number<std::uint16_t>("id_word");
    session.taskNumber = fields.number<std::uint16_t>("task_number");
    session.connectionNumber = fields.number<std::uint32_t>("connection_number");
    session.pid = fields.number<std::uint32_t>("pid");
    session.site = fields.code<std::int32_t>(Codes::kSite, "site");
    session.address = name(fields, "address");
    session.transactionState = fields.code<std::int32_t>(Codes::kTransactionState, "transaction");
    session.locksUsed = fields.number<std::uint32_t>("locks_used");
    session.recordsRead = fields.number<std::uint32_t>("records_read");
    session.recordsInserted = fields.number<std::uint32_t>("records_inserted");
    session.recordsUpdated = fields.number<std::uint32_t>("records_updated");
    session.recordsDeleted = fields.number<std::uint32_t>("records_deleted");
    session.diskAccesses = fields.number<std::uint32_t>("disk_accesses");
    session.cacheAccesses = fields.number<std::uint32_t>("cache_accesses");
    session.spareCode = fields.number<std::uint16_t>("spare");
    session.counts = counts(fields);
    session.handles.first = static_cast<std::uint32_t>(m_record.sessionHandles.size());
    m_record.sessions.push_back(session);
    m_open = Section::kSessions;
}

void RecordReader::takeHandle(Fields& fields) {
    const std::string_view owner = fields.word("of");
    if (owner == "file" && m_open == Section::kFiles) {
        FileItem& file = m_record.files.back();
        if (fields.text("file") != m_names[file.name]) throw FieldError{"file"};
        FileHandleItem handle;
        handle.clientIndex = fields.number<std::uint32_t>("client_index");
        handle.client = name(fields, "client");
        handle.state = state(fields);
        m_record.fileHandles.push_back(handle);
        ++file.handles.count;
    } else if (owner == "session" && m_open == Section::kSessions) {
        SessionItem& session = m_record.sessions.back();
        if (fields.text("session") != m_names[session.name]) throw FieldError{"session"};
        if (fields.text("client_id") != m_names[session.clientId]) throw FieldError{"client_id"};
        SessionHandleItem handle;
        handle.file = name(fields, "file");
        handle.state = state(fields);
        m_record.sessionHandles.push_back(handle);
        ++session.handles.count;
    } else {
        throw Misplaced{"handle"};
    }
}

void RecordReader::takeConnection(Fields& fields) {
    ConnectionItem connection;
    connection.user = name(fields, "user");
    connection.host = name(fields, "host");
    connection.address = name(fields, "address");
    connection.application = name(fields, "application");
    connection.dataSource = name(fields, "data_source");
    connection.status = fields.code<std::uint16_t>(Codes::kConnectionStatus, "status");
    connection.periodMs = fields.number<std::uint32_t>("period_ms");
    connection.totalTime = fields.number<std::uint32_t>("total_time");
    m_record.connections.push_back(connection);
}

void RecordReader::takeWait(Fields& fields) {
    WaitItem wait;
    wait.file = name(fields, "file");
    wait.clientIndex = fields.number<std::uint32_t>("client_index");
    wait.client = name(fields, "client");
    wait.waitState = fields.code<std::uint8_t>(Codes::kWaitState, "for");
    wait.sinceMs = fields.instant("since", "since_epoch_ms");
    wait.waitedMs = fields.thousandths("seconds");
    m_record.waits.push_back(wait);
}

void RecordReader::takeEvent(Fields& fields) {
    EventItem event;
    const auto kind = eventKindOf(fields.word("event"));
    if (!kind) throw FieldError{"event"};
    event.kind = *kind;
    event.startMs = fields.instant("start", "start_epoch_ms");
    event.endMs = fields.optionalInstant("end", "end_epoch_ms");
    event.status = fields.optionalNumber<std::int32_t>("status");
    event.count = fields.optionalNumber<std::uint64_t>("count");
    event.text = fields.text("text");
    m_record.events.push_back(std::move(event));
}

void RecordReader::takeEnd(Fields& fields) {
    if (fields.number<std::uint64_t>("items") != m_items) throw FieldError{"items"};
    m_record.tookUs = fields.thousandths("took_ms");
    m_failed = sections(fields, "failed_sections");
    for (const simdjson::dom::element element : fields.array("sections")) {
        simdjson::dom::object section;
        if (element.get(section) != simdjson::SUCCESS) throw FieldError{"sections"};
        takeSection(Fields(section));
    }
    for (const Section section : kAllSections) {
        const auto place = static_cast<std::size_t>(section);
        if (m_asked[place] != (m_record.section(section).state != SectionState::kOff)) throw FieldError{"sections"};
        if (m_failed[place] && !m_asked[place]) throw FieldError{"failed_sections"};
    }
    checkContents();
}

void RecordReader::takeSection(Fields fields) {
    const auto section = sectionOf(fields.word("section"));
    if (!section) throw FieldError{"section"};
    const auto place = static_cast<std::size_t>(*section);
    SectionResult& result = m_record.sections[place];
    result.startedUs = fields.thousandths("start_ms");
    result.tookUs = fields.thousandths("took_ms");
    result.attempts = fields.number<std::uint32_t>("attempts");
    result.vanished = fields.number<std::uint64_t>("skipped");
    result.status = fields.number<std::int32_t>("status");
    result.text = fields.text("text");
    // Not every failure has a status: an engine that is silent gives none.
    if (result.status != 0 && !m_failed[place]) throw FieldError{"failed_sections"};
    result.state = m_failed[place] ? SectionState::kFailed : SectionState::kWhole;
}

// A section that is off or failed has no items, and a whole one has its handles.
void RecordReader::checkContents() const {
    const auto check = [this](Section section, bool empty) {
        if (!m_record.has(section) && !empty) throw FieldError{std::string(wordOf(section))};
    };
    check(Section::kFiles, m_record.files.empty() && m_record.waits.empty());
    check(Section::kSessions, m_record.sessions.empty());
    check(Section::kConnections, m_record.connections.empty());
    check(Section::kUsage, !m_record.usage);
    check(Section::kCommunications, !m_record.communication && m_record.protocols.empty());
    if (m_record.has(Section::kUsage) && !m_record.usage) throw FieldError{"usage"};
    if (m_record.has(Section::kCommunications) && !m_record.communication) throw FieldError{"communication"};
    checkCounts(m_record.files);
    checkCounts(m_record.sessions);
}

template <typename Item>
void RecordReader::checkCounts(const std::vector<Item>& items) const {
    for (const Item& item : items) {
        const bool fits = m_record.scope == HandleScope::kAll ? item.handles.count == item.counts.all
                                                              : item.handles.count <= item.counts.all;
        if (!fits) throw FieldError{"handles"};
    }
}

}  // namespace

struct NdjsonReader::Parser {
    // Parses one line of `text`. The parser reads some bytes beyond the line, so that the last lines are copied.
    simdjson::dom::element parse(std::string_view text, std::string_view line, std::size_t number);

    simdjson::dom::parser parser;
    std::string padded;
};

simdjson::dom::element NdjsonReader::Parser::parse(std::string_view text, std::string_view line, std::size_t number) {
    const char* start = line.data();
    const auto behind = static_cast<std::size_t>(text.data() + text.size() - (line.data() + line.size()));
    if (behind < simdjson::SIMDJSON_PADDING) {
        padded.assign(line);
        padded.resize(line.size() + simdjson::SIMDJSON_PADDING);
        start = padded.data();
    }
    simdjson::dom::element element;
    if (parser.parse(start, line.size(), false).get(element) != simdjson::SUCCESS) {
        fail("ERR_RECORD_JSON", messageNumber(number));
    }
    return element;
}

NdjsonReader::NdjsonReader() : m_parser(std::make_unique<Parser>()) {
}

NdjsonReader::~NdjsonReader() = default;

Record NdjsonReader::read(std::string_view& text, std::size_t firstLine, NdjsonFrame frame) {
    RecordReader reader(frame);
    std::string_view rest = text;
    for (std::size_t number = firstLine;; ++number) {
        const std::size_t size = rest.find('\n');
        if (size == std::string_view::npos) fail("ERR_RECORD_CUT", messageNumber(number));
        const std::string_view line = rest.substr(0, size);
        rest.remove_prefix(size + 1);
        try {
            simdjson::dom::object object;
            if (m_parser->parse(text, line, number).get(object) != simdjson::SUCCESS) {
                fail("ERR_RECORD_JSON", messageNumber(number));
            }
            if (!reader.take(line, object)) continue;
            text = rest;
            return reader.finish();
        } catch (const FieldError& error) {
            fail("ERR_RECORD_FIELD", messageNumber(number), error.key.c_str());
        } catch (const Misplaced& error) {
            fail("ERR_RECORD_KIND", messageNumber(number), error.kind.c_str());
        } catch (const OtherVersion& error) {
            fail("ERR_RECORD_VERSION", messageNumber(number), std::to_string(error.version).c_str());
        }
    }
}

}  // namespace vexo
