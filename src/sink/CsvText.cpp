// SPDX-License-Identifier: MIT
#include "sink/CsvText.h"

#include <simdjson.h>

#include <algorithm>
#include <charconv>
#include <vector>

#include "record/Ndjson.h"

namespace vexo {
namespace {

using Element = simdjson::dom::element;

struct Table {
    std::string_view kind;
    std::string_view columns;
};

// In front of the columns of every table.
constexpr std::string_view kFrame = "server,run,rec,time,epoch_ms";

// The fields of docs/RECORDS.md under their names; "." leads into an object, whose column has "_" there, and a number
// counts the elements of a list.
constexpr std::array<Table, kCsvTables> kTables = {
    {{"record", "recorder,engine_version,engine_type,sections,handles,interval_ms,monotonic_us"},
     {"usage",
      "users.current,users.peak,users.max,files.current,files.peak,files.max,handles.current,handles.peak,handles.max,"
      "transactions.current,transactions.peak,transactions.max,clients.current,clients.peak,clients.max,"
      "worker_threads.current,worker_threads.peak,worker_threads.max,locks.current,locks.peak,locks.max,"
      "data_in_use_bytes.current,data_in_use_bytes.peak,data_in_use_bytes.max,"
      "sessions.current,sessions.peak,sessions.max,uptime_s"},
     {"communication",
      "requests,remote_sessions.current,remote_sessions.peak,remote_sessions.max,threads.current,threads.peak,"
      "threads.max,connection_timeouts,connection_recoveries,further_counts"},
     {"protocol", "protocol,protocol_code,requests,remote_sessions_current,remote_sessions_peak"},
     {"file",
      "file,file_hex,size_bytes,page_size_bytes,read_only,read_only_code,read_locks,read_locks_code,transaction_lock,"
      "transaction_lock_code,handles,waiting,locking"},
     {"session",
      "session,session_hex,client_id,client_id_hex,id_word,task_number,connection_number,pid,site,site_code,address,"
      "address_hex,transaction,transaction_code,locks_used,records_read,records_inserted,records_updated,"
      "records_deleted,disk_accesses,cache_accesses,spare,handles,waiting,locking"},
     {"handle",
      "of,file,file_hex,client_index,client,client_hex,session,session_hex,client_id,client_id_hex,open_mode,"
      "open_mode_code,record_lock,record_lock_code,wait,wait_code,transaction,transaction_code"},
     {"connection",
      "user,user_hex,host,host_hex,address,address_hex,application,application_hex,data_source,data_source_hex,status,"
      "status_code,period_ms,total_time"},
     {"wait", "file,file_hex,client_index,client,client_hex,for,for_code,since,since_epoch_ms,seconds"},
     {"event", "event,start,start_epoch_ms,end,end_epoch_ms,status,count,text"},
     {"end", "items,took_ms,failed_sections,skipped"}}
};

std::vector<std::string_view> columnsOf(std::string_view list) {
    std::vector<std::string_view> columns;
    while (!list.empty()) {
        const std::size_t size = std::min(list.find(','), list.size());
        columns.push_back(list.substr(0, size));
        list.remove_prefix(std::min(size + 1, list.size()));
    }
    return columns;
}

bool looksLikeFormula(std::string_view text) {
    return !text.empty() && std::string_view("=+-@\t\r").find(text.front()) != std::string_view::npos;
}

void appendField(std::string& row, std::string_view text, CsvFormulas formulas) {
    const bool guarded = formulas == CsvFormulas::kGuarded && looksLikeFormula(text);
    const bool quoted = text.find_first_of(",\"\r\n") != std::string_view::npos;
    if (quoted) row += '"';
    if (guarded) row += '\'';
    for (const char c : text) {
        if (c == '"') row += '"';
        row += c;
    }
    if (quoted) row += '"';
}

// A list of words or numbers is one field, with blanks in between.
void appendList(std::string& out, simdjson::dom::array list) {
    std::string_view separator;
    for (const Element element : list) {
        out.append(std::exchange(separator, " "));
        out.append(element.is_string() ? std::string(std::string_view(element)) : simdjson::minify(element));
    }
}

void appendValue(std::string& row, Element value, CsvFormulas formulas) {
    std::string list;
    switch (value.type()) {
        case simdjson::dom::element_type::NULL_VALUE:
            return;
        case simdjson::dom::element_type::STRING:
            return appendField(row, value.get_string().value_unsafe(), formulas);
        case simdjson::dom::element_type::ARRAY:
            appendList(list, value.get_array().value_unsafe());
            return appendField(row, list, formulas);
        default:
            row += simdjson::minify(value);
    }
}

// Fills the columns of one line.
void appendRow(std::string& row, Element line, const std::vector<std::string_view>& columns, CsvFormulas formulas) {
    std::string_view separator;
    for (const std::string_view column : columns) {
        row.append(std::exchange(separator, ","));
        const std::size_t dot = column.find('.');
        auto value = line[column.substr(0, dot)];
        if (dot != std::string_view::npos) value = value[column.substr(dot + 1)];
        if (value.error() == simdjson::SUCCESS) appendValue(row, value.value_unsafe(), formulas);
    }
    row.append("\r\n");
}

const std::array<std::vector<std::string_view>, kCsvTables>& allColumns() {
    static const auto columns = [] {
        std::array<std::vector<std::string_view>, kCsvTables> all;
        for (std::size_t table = 0; table < kCsvTables; ++table) {
            all[table] = columnsOf(kFrame);
            const auto own = columnsOf(kTables[table].columns);
            all[table].insert(all[table].end(), own.begin(), own.end());
        }
        return all;
    }();
    return columns;
}

}  // namespace

struct CsvText::Parser {
    simdjson::dom::parser parser;
};

CsvText::CsvText(CsvFormulas formulas) : m_parser(std::make_unique<Parser>()), m_formulas(formulas) {
}

CsvText::~CsvText() = default;

std::string_view CsvText::kind(std::size_t table) {
    return kTables[table].kind;
}

std::string CsvText::header(std::size_t table) {
    std::string row = std::string(kFrame).append(",").append(kTables[table].columns).append("\r\n");
    std::replace(row.begin(), row.end(), '.', '_');
    return row;
}

const std::array<std::string, kCsvTables>& CsvText::rows(const Record& record) {
    for (std::string& rows : m_rows)
        rows.clear();
    m_text.clear();
    appendNdjson(m_text, record);
    simdjson::dom::document_stream lines;
    m_text.reserve(m_text.size() + simdjson::SIMDJSON_PADDING);
    if (m_parser->parser.parse_many(m_text).get(lines) != simdjson::SUCCESS) return m_rows;
    for (const auto& line : lines) {
        const std::string_view kind = line["kind"].get_string().value_unsafe();
        const auto* const table = std::find_if(kTables.begin(), kTables.end(),
                                               [kind](const Table& candidate) { return candidate.kind == kind; });
        const auto place = static_cast<std::size_t>(table - kTables.begin());
        if (place < kCsvTables) appendRow(m_rows[place], line.value_unsafe(), allColumns()[place], m_formulas);
    }
    return m_rows;
}

}  // namespace vexo
