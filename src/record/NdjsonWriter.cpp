// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "record/Codes.h"
#include "record/JsonText.h"
#include "record/Ndjson.h"
#include "record/NdjsonFrame.h"
#include "record/Timestamp.h"

namespace vexo {
namespace {

// The names of a record as they stand between quotes, escaped once however many items carry them.
class EscapedNames {
public:
    explicit EscapedNames(const Names& names) : m_names(names) {
        m_entries.reserve(names.size());
        for (NameId name = 0; name < names.size(); ++name) {
            const std::size_t start = m_text.size();
            const bool exact = isUtf8(names[name]);
            appendEscaped(m_text, exact ? names[name] : replacedText(names[name]));
            m_entries.push_back({start, m_text.size() - start, exact});
        }
    }
    std::string_view text(NameId name) const {
        return std::string_view(m_text).substr(m_entries[name].start, m_entries[name].size);
    }
    // Whether the text is all that there is; otherwise the bytes have to be told too.
    bool isExact(NameId name) const { return m_entries[name].exact; }
    std::string_view bytes(NameId name) const { return m_names[name]; }

private:
    struct Entry {
        std::size_t start;
        std::size_t size;
        bool exact;
    };
    const Names& m_names;
    std::string m_text;
    std::vector<Entry> m_entries;
};

// Writes the lines of one record. A key is written with the comma before it: the kind has stood before every field.
class Writer {
public:
    Writer(std::string& out, const Record& record, NdjsonFrame frame)
        : m_out(out),
          m_record(record),
          m_names(record.names),
          m_firstPrefix(ndjsonPrefix(record.name(record.server), record)),
          m_prefix(frame == NdjsonFrame::kEveryLine ? m_firstPrefix : kFramelessPrefix) {}

    void write();

private:
    void begin(std::string_view kind) { m_out.append(m_prefix).append(kind).append("\""); }
    void endLine() {
        m_out.append("}\n");
        ++m_lines;
    }
    void key(std::string_view key) { m_out.append(",\"").append(key).append("\":"); }
    void raw(std::string_view name, std::string_view value) {
        key(name);
        m_out.append(value);
    }
    void word(std::string_view name, std::string_view value) {
        key(name);
        m_out.append("\"").append(value).append("\"");
    }
    template <typename Number>
    void digits(Number value) {
        std::array<char, 24> text;
        m_out.append(text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr);
    }
    template <typename Number>
    void number(std::string_view name, Number value) {
        key(name);
        digits(value);
    }
    template <typename Number>
    void optionalNumber(std::string_view name, const std::optional<Number>& value) {
        value ? number(name, *value) : raw(name, "null");
    }
    // Thousandths as a number with three decimals.
    void thousandths(std::string_view name, std::uint64_t value);
    void instant(std::string_view name, std::optional<std::int64_t> epochMs);
    void name(std::string_view name, NameId value);
    void text(std::string_view name, std::string_view bytes);
    void code(Codes kind, std::string_view name, std::int64_t value);
    void amount(std::string_view name, const Amount& value);
    void counts(const HandleCounts& counts);
    void state(const HandleState& state);

    void writeHead();
    void writeUsage(const Usage& usage);
    void writeCommunication(const Communication& communication);
    void writeProtocol(const ProtocolItem& protocol);
    void writeFile(const FileItem& file);
    void writeFileHandle(const FileItem& file, const FileHandleItem& handle);
    void writeSession(const SessionItem& session);
    void writeSessionHandle(const SessionItem& session, const SessionHandleItem& handle);
    void writeConnection(const ConnectionItem& connection);
    void writeWait(const WaitItem& wait);
    void writeEvent(const EventItem& event);
    void writeEnd();
    void writeSection(Section section, const SectionResult& result);

    std::string& m_out;
    const Record& m_record;
    const EscapedNames m_names;
    const std::string m_firstPrefix;
    const std::string_view m_prefix;
    std::uint64_t m_lines = 0;
};

void Writer::thousandths(std::string_view name, std::uint64_t value) {
    number(name, value / 1000);
    const std::uint64_t rest = value % 1000;
    m_out += '.';
    m_out += static_cast<char>('0' + rest / 100);
    m_out += static_cast<char>('0' + rest / 10 % 10);
    m_out += static_cast<char>('0' + rest % 10);
}

void Writer::instant(std::string_view name, std::optional<std::int64_t> epochMs) {
    epochMs ? word(name, timestamp(*epochMs)) : raw(name, "null");
    m_out.append(",\"").append(name).append("_epoch_ms\":");
    epochMs ? digits(*epochMs) : static_cast<void>(m_out.append("null"));
}

void Writer::name(std::string_view name, NameId value) {
    word(name, m_names.text(value));
    if (!m_names.isExact(value)) appendHexField(m_out, name, m_names.bytes(value));
}

void Writer::text(std::string_view name, std::string_view bytes) {
    key(name);
    appendTextValue(m_out, name, bytes);
}

// The number is told where the word alone does not give it back.
void Writer::code(Codes kind, std::string_view name, std::int64_t value) {
    const std::string_view known = wordOf(kind, value);
    if (known.empty() || kind == Codes::kFlag) {
        raw(name, known.empty() ? "null" : known);
    } else {
        word(name, known);
    }
    if (!known.empty() && codeOf(kind, known) == value) return;
    m_out.append(",\"").append(name).append("_code\":");
    digits(value);
}

void Writer::amount(std::string_view name, const Amount& value) {
    key(name);
    m_out += "{\"current\":";
    digits(value.current);
    number("peak", value.peak);
    optionalNumber("max", value.limit != 0 ? std::optional(value.limit) : std::nullopt);
    m_out += '}';
}

void Writer::counts(const HandleCounts& counts) {
    const bool known = m_record.scope != HandleScope::kNone;
    optionalNumber("handles", known ? std::optional(counts.all) : std::nullopt);
    optionalNumber("waiting", known ? std::optional(counts.waiting) : std::nullopt);
    optionalNumber("locking", known ? std::optional(counts.locking) : std::nullopt);
}

void Writer::state(const HandleState& state) {
    code(Codes::kOpenMode, "open_mode", state.openMode);
    code(Codes::kRecordLock, "record_lock", state.recordLock);
    code(Codes::kWaitState, "wait", state.waitState);
    code(Codes::kTransactionState, "transaction", state.transactionState);
}

void Writer::write() {
    writeHead();
    m_lines = 0;  // counts the items, neither the first nor the last line
    if (m_record.usage) writeUsage(*m_record.usage);
    if (m_record.communication) writeCommunication(*m_record.communication);
    for (const ProtocolItem& protocol : m_record.protocols)
        writeProtocol(protocol);
    for (const FileItem& file : m_record.files)
        writeFile(file);
    for (const SessionItem& session : m_record.sessions)
        writeSession(session);
    for (const ConnectionItem& connection : m_record.connections)
        writeConnection(connection);
    for (const WaitItem& wait : m_record.waits)
        writeWait(wait);
    for (const EventItem& event : m_record.events)
        writeEvent(event);
    writeEnd();
}

void Writer::writeHead() {
    m_out.append(m_firstPrefix).append("record\"");
    name("recorder", m_record.recorder);
    m_record.engineVersion != kNoName ? name("engine_version", m_record.engineVersion) : raw("engine_version", "null");
    optionalNumber("engine_type", m_record.engineType);
    key("sections");
    char separator = '[';
    for (const Section section : kAllSections) {
        if (m_record.section(section).state == SectionState::kOff) continue;
        m_out.append(1, separator).append("\"").append(wordOf(section)).append("\"");
        separator = ',';
    }
    m_out += separator == '[' ? "[]" : "]";
    word("handles", wordOf(m_record.scope));
    optionalNumber("interval_ms", m_record.intervalMs != 0 ? std::optional(m_record.intervalMs) : std::nullopt);
    number("monotonic_us", m_record.monotonicUs);
    endLine();
}

void Writer::writeUsage(const Usage& usage) {
    begin("usage");
    amount("users", usage.users);
    amount("files", usage.files);
    amount("handles", usage.handles);
    amount("transactions", usage.transactions);
    amount("clients", usage.clients);
    amount("worker_threads", usage.workerThreads);
    amount("locks", usage.locks);
    amount("data_in_use_bytes", usage.dataInUseBytes);
    amount("sessions", usage.sessions);
    number("uptime_s", usage.uptimeSeconds);
    endLine();
}

void Writer::writeCommunication(const Communication& communication) {
    begin("communication");
    number("requests", communication.requests);
    amount("remote_sessions", communication.remoteSessions);
    amount("threads", communication.threads);
    number("connection_timeouts", communication.connectionTimeouts);
    number("connection_recoveries", communication.connectionRecoveries);
    key("further_counts");
    char separator = '[';
    for (const std::uint64_t count : communication.furtherCounts) {
        m_out += std::exchange(separator, ',');
        digits(count);
    }
    m_out += ']';
    endLine();
}

void Writer::writeProtocol(const ProtocolItem& protocol) {
    begin("protocol");
    code(Codes::kProtocol, "protocol", protocol.type);
    number("requests", protocol.requests);
    number("remote_sessions_current", protocol.sessionsCurrent);
    number("remote_sessions_peak", protocol.sessionsPeak);
    endLine();
}

void Writer::writeFile(const FileItem& file) {
    begin("file");
    name("file", file.name);
    number("size_bytes", file.sizeBytes);
    number("page_size_bytes", file.pageSizeBytes);
    code(Codes::kFlag, "read_only", file.readOnly);
    code(Codes::kFlag, "read_locks", file.readLocks);
    code(Codes::kFlag, "transaction_lock", file.transactionLock);
    counts(file.counts);
    endLine();
    for (std::uint32_t place = 0; place < file.handles.count; ++place)
        writeFileHandle(file, m_record.fileHandles[file.handles.first + place]);
}

void Writer::writeFileHandle(const FileItem& file, const FileHandleItem& handle) {
    begin("handle");
    m_out += ",\"of\":\"file\"";
    name("file", file.name);
    number("client_index", handle.clientIndex);
    name("client", handle.client);
    state(handle.state);
    endLine();
}

void Writer::writeSession(const SessionItem& session) {
    begin("session");
    name("session", session.name);
    name("client_id", session.clientId);
    number("id_word", session.idWord);
    number("task_number", session.taskNumber);
    number("connection_number", session.connectionNumber);
    number("pid", session.pid);
    code(Codes::kSite, "site", session.site);
    name("address", session.address);
    code(Codes::kTransactionState, "transaction", session.transactionState);
    number("locks_used", session.locksUsed);
    number("records_read", session.recordsRead);
    number("records_inserted", session.recordsInserted);
    number("records_updated", session.recordsUpdated);
    number("records_deleted", session.recordsDeleted);
    number("disk_accesses", session.diskAccesses);
    number("cache_accesses", session.cacheAccesses);
    number("spare", session.spareCode);
    counts(session.counts);
    endLine();
    for (std::uint32_t place = 0; place < session.handles.count; ++place)
        writeSessionHandle(session, m_record.sessionHandles[session.handles.first + place]);
}

void Writer::writeSessionHandle(const SessionItem& session, const SessionHandleItem& handle) {
    begin("handle");
    m_out += ",\"of\":\"session\"";
    name("session", session.name);
    name("client_id", session.clientId);
    name("file", handle.file);
    state(handle.state);
    endLine();
}

void Writer::writeConnection(const ConnectionItem& connection) {
    begin("connection");
    name("user", connection.user);
    name("host", connection.host);
    name("address", connection.address);
    name("application", connection.application);
    name("data_source", connection.dataSource);
    code(Codes::kConnectionStatus, "status", connection.status);
    number("period_ms", connection.periodMs);
    number("total_time", connection.totalTime);
    endLine();
}

void Writer::writeWait(const WaitItem& wait) {
    begin("wait");
    name("file", wait.file);
    number("client_index", wait.clientIndex);
    name("client", wait.client);
    code(Codes::kWaitState, "for", wait.waitState);
    instant("since", wait.sinceMs);
    thousandths("seconds", wait.waitedMs);
    endLine();
}

void Writer::writeEvent(const EventItem& event) {
    begin("event");
    word("event", wordOf(event.kind));
    instant("start", event.startMs);
    instant("end", event.endMs);
    optionalNumber("status", event.status);
    optionalNumber("count", event.count);
    text("text", event.text);
    endLine();
}

void Writer::writeEnd() {
    std::uint64_t vanished = 0;
    begin("end");
    number("items", m_lines);
    thousandths("took_ms", m_record.tookUs);
    key("failed_sections");
    std::string_view separator;
    m_out += '[';
    for (const Section section : kAllSections) {
        const SectionResult& result = m_record.section(section);
        vanished += result.vanished;
        if (result.state != SectionState::kFailed) continue;
        m_out.append(std::exchange(separator, ",")).append("\"").append(wordOf(section)).append("\"");
    }
    m_out += ']';
    number("skipped", vanished);
    key("sections");
    separator = {};
    m_out += '[';
    for (const Section section : kAllSections) {
        if (m_record.section(section).state == SectionState::kOff) continue;
        m_out += std::exchange(separator, ",");
        writeSection(section, m_record.section(section));
    }
    m_out += ']';
    endLine();
}

void Writer::writeSection(Section section, const SectionResult& result) {
    m_out.append("{\"section\":\"").append(wordOf(section)).append("\"");
    thousandths("start_ms", result.startedUs);
    thousandths("took_ms", result.tookUs);
    number("attempts", result.attempts);
    number("skipped", result.vanished);
    number("status", result.status);
    text("text", result.text);
    m_out += '}';
}

}  // namespace

void appendHexField(std::string& out, std::string_view key, std::string_view bytes) {
    out.append(",\"").append(key).append("_hex\":\"");
    appendHex(out, bytes);
    out += '"';
}

void appendTextValue(std::string& out, std::string_view key, std::string_view bytes) {
    const bool exact = isUtf8(bytes);
    out += '"';
    appendEscaped(out, exact ? bytes : replacedText(bytes));
    out += '"';
    if (!exact) appendHexField(out, key, bytes);
}

std::string ndjsonPrefix(std::string_view server, const Record& record) {
    std::string prefix = "{\"v\":" + std::to_string(kNdjsonVersion) + ",\"server\":";
    appendTextValue(prefix, "server", server);
    prefix.append(",\"run\":").append(std::to_string(record.run));
    prefix.append(",\"rec\":").append(std::to_string(record.number));
    prefix.append(",\"time\":\"").append(timestamp(record.epochMs)).append("\"");
    prefix.append(",\"epoch_ms\":").append(std::to_string(record.epochMs));
    return prefix.append(",\"kind\":\"");
}

void appendNdjson(std::string& out, const Record& record, NdjsonFrame frame) {
    Writer(out, record, frame).write();
}

void appendNdjsonLines(std::string& out, std::string_view recorded) {
    // No text can hold the quotes, because they are escaped there.
    constexpr std::string_view kKind = ",\"kind\":\"";
    const std::string_view prefix = recorded.substr(0, recorded.find(kKind) + kKind.size());
    std::size_t frame = prefix.size();
    while (!recorded.empty()) {
        const std::size_t end = std::min(recorded.find('\n'), recorded.size() - 1) + 1;
        out.append(prefix).append(recorded.substr(frame, end - frame));
        recorded.remove_prefix(end);
        frame = kFramelessPrefix.size();
    }
}

}  // namespace vexo
