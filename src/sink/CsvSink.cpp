// SPDX-License-Identifier: MIT
#include "sink/CsvSink.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "messages/MessageHelper.h"

namespace vexo {

CsvSink::CsvSink(std::string directory, CsvFormulas formulas) : m_directory(std::move(directory)), m_text(formulas) {
    for (std::size_t table = 0; table < kCsvTables; ++table)
        m_files.emplace_back(m_directory + "/" + std::string(CsvText::kind(table)) + ".csv");
}

std::optional<RecordPlace> CsvSink::open() {
    reopen();
    return {};
}

void CsvSink::reopen() {
    constexpr mode_t kOwnerOnly = 0700;
    if (::mkdir(m_directory.c_str(), kOwnerOnly) != 0 && errno != EEXIST)
        throw StreamException(widen(m_directory), errno);
    for (std::size_t table = 0; table < kCsvTables; ++table) {
        OutputFile& file = m_files[table];
        file.open();
        const std::string header = CsvText::header(table);
        if (file.isEmpty()) {
            file.append(header);
        } else if (file.head(header.size()) != header) {
            throw Exception(MessageHelper("AGENT", "AGENT_").getResStr("ERR_CSV_COLUMNS", file.path().c_str()));
        }
    }
}

void CsvSink::write(const RecordPtr& record) {
    const auto& rows = m_text.rows(*record);
    std::size_t table = 0;
    try {
        for (; table < kCsvTables; ++table)
            if (!rows[table].empty()) m_files[table].append(rows[table]);
    } catch (const StreamException&) {
        while (table-- > 0)
            m_files[table].takeBack(rows[table].size());
        throw;
    }
}

std::optional<std::uint64_t> CsvSink::bytes() const {
    std::uint64_t all = 0;
    for (const OutputFile& file : m_files)
        all += file.size();
    return all;
}

}  // namespace vexo
