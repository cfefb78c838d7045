// SPDX-License-Identifier: MIT
#include "history/HistoryCheck.h"

#include <SQLiteCpp/Statement.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#include "foundation/Encoding.h"
#include "history/HistoryReader.h"
#include "history/TableCheck.h"

namespace vexo {
namespace {

void checkStructure(SQLite::Database& database, HistoryCheck& check) {
    SQLite::Statement statement(database, "PRAGMA integrity_check");
    while (statement.executeStep()) {
        const std::string finding = statement.getColumn(0).getString();
        if (finding != "ok") check.findings.push_back(widen(finding));
    }
}

// Where the tables cannot be read any more there is nothing to compare.
void compareTables(std::optional<TableCheck>& tables, const Record& record, HistoryCheck& check) {
    if (!tables) return;
    try {
        for (const char* table : tables->differing(record))
            check.findings.push_back(historyMessage("ERR_HISTORY_TABLE", std::to_string(record.number).c_str(), table));
    } catch (const HistoryException& error) {
        check.findings.push_back(error.message());
        tables.reset();
    }
}

// Gives the last record that is lost; none where the file tells of no record behind `last`.
std::optional<std::uint64_t> passDamage(HistoryReader& reader, std::uint64_t last, HistoryCheck& check) {
    try {
        const RecordRange lost = reader.passDamage();
        check.findings.push_back(
            historyMessage("ERR_HISTORY_LOST", std::to_string(lost.first).c_str(), std::to_string(lost.last).c_str()));
        return lost.last;
    } catch (const HistoryException&) {
        check.findings.push_back(historyMessage("ERR_HISTORY_REST", std::to_string(last + 1).c_str()));
        return std::nullopt;
    }
}

void checkRecords(const std::string& path, HistoryCheck& check) {
    HistoryReader reader(path);
    std::optional<TableCheck> tables(path);
    for (std::optional<std::uint64_t> last = 0; last;) {
        try {
            const RecordPtr record = reader.next();
            if (!record) return;
            last = record->number;
            ++check.records;
            compareTables(tables, *record, check);
        } catch (const HistoryException& error) {
            check.findings.push_back(error.message());
            last = passDamage(reader, *last, check);
        }
    }
}

// Creates a file for what is to be named `target`, where nothing has that name; removes it again unless it is kept.
class NewFile {
public:
    explicit NewFile(const std::string& target)
        : m_target(target),
          m_path(target + ".new-" + std::to_string(::getpid())),
          m_file(isFree() ? ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR) : -1) {
        check(m_file.get() >= 0);
        m_isOurs = true;
    }
    ~NewFile() {
        if (m_isOurs) std::remove(m_path.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const std::string& path() const { return m_path; }
    void keep() {
        check(::fsync(m_file.get()) == 0);
        renameNew(m_path, m_target);
        m_isOurs = false;
    }

private:
    bool isFree() const {
        struct stat file {};
        if (::lstat(m_target.c_str(), &file) != 0) return true;
        errno = EEXIST;
        return false;
    }
    void check(bool succeeded) const {
        if (succeeded) return;
        throw CopyException(historyMessage("ERR_HISTORY", m_target.c_str(), narrow(systemReason(errno)).c_str()));
    }

    const std::string m_target;
    const std::string m_path;
    const FileDescriptor m_file;
    bool m_isOurs = false;
};

// Asked by SQLite; another answer than 0 ends the statement.
int isStoppedNow(void* isStopped) {
    return (*static_cast<bool (**)()>(isStopped))() ? 1 : 0;
}

}  // namespace

HistoryCheck checkHistory(const std::string& path) {
    HistoryCheck check;
    ReadableHistory history(path);
    try {
        withHistory(path, [&] {
            checkStructure(history.database(), check);
            checkRecords(path, check);
        });
    } catch (const HistoryException& error) {
        check.findings.push_back(error.message());
    }
    return check;
}

void backUpHistory(const std::string& path, const std::string& copy, bool (*isStopped)()) {
    ReadableHistory history(path);
    NewFile file(copy);
    try {
        constexpr int kSteps = 1000;
        if (isStopped) sqlite3_progress_handler(history.database().getHandle(), kSteps, isStoppedNow, &isStopped);
        SQLite::Statement vacuum(history.database(), "VACUUM INTO ?");
        vacuum.bind(1, file.path());
        vacuum.exec();
    } catch (const SQLite::Exception& error) {
        if (error.getErrorCode() == SQLITE_CORRUPT)
            throw HistoryException(historyMessage("ERR_HISTORY", path.c_str(), error.what()));
        throw CopyException(historyMessage("ERR_HISTORY", copy.c_str(), error.what()));
    }
    file.keep();
}

}  // namespace vexo
