// SPDX-License-Identifier: MIT
#include "history/HistoryFile.h"

#include <SQLiteCpp/Statement.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "foundation/Encoding.h"
#include "foundation/ResultCode.h"
#include "history/Schema.h"
#include "record/Timestamp.h"

namespace vexo {
namespace {

// Numbers above it cannot come from a writer that counts by one.
constexpr std::int64_t kLastPlausibleRecord = std::int64_t{1} << 53;

[[noreturn]] void failWith(const std::string& path, int errorNumber) {
    throw HistoryException(historyMessage("ERR_HISTORY", path.c_str(), narrow(systemReason(errorNumber)).c_str()));
}

std::string resolved(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
    return error ? path : real.string();
}

void lockForWriting(const std::string& path, int file) {
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) return;
    if (errno == EWOULDBLOCK) throw HistoryException(historyMessage("ERR_HISTORY_LOCKED", path.c_str()));
    failWith(path, errno);
}

bool names(const std::string& path, int file) {
    struct stat byPath {};
    struct stat byFile {};
    return ::stat(path.c_str(), &byPath) == 0 && ::fstat(file, &byFile) == 0 && byPath.st_dev == byFile.st_dev &&
           byPath.st_ino == byFile.st_ino;
}

bool exists(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

int headerNumber(std::string_view header, std::size_t offset) {
    std::uint32_t number = 0;
    for (const char byte : header.substr(offset, sizeof number))
        number = number << 8U | static_cast<unsigned char>(byte);
    return static_cast<int>(number);
}

// Whether these first bytes are those of a history, perhaps of a damaged one. Damage seldom hits both marks.
bool looksLikeHistory(std::string_view header) {
    constexpr std::string_view kMagic("SQLite format 3\0", 16);
    constexpr std::size_t kApplicationIdOffset = 68;
    const bool isDatabase = header.substr(0, kMagic.size()) == kMagic;
    const bool hasId = header.size() >= kApplicationIdOffset + sizeof kApplicationId;
    return hasId ? headerNumber(header, kApplicationIdOffset) == kApplicationId : isDatabase;
}

// A check reads all of the file. That takes a second for this much, but a minute for a gigabyte on a disk that others use.
constexpr std::int64_t kLargeBytes = std::int64_t{128} << 20U;

// What is wrong with the structure of the file; empty if nothing is.
std::string structuralDamageOf(SQLite::Database& database, WritableHistory::Inspection inspection) {
    const std::int64_t bytes =
        database.execAndGet("PRAGMA page_count").getInt64() * database.execAndGet("PRAGMA page_size").getInt64();
    std::vector<std::string> checks = {"PRAGMA quick_check(1)"};
    if (inspection == WritableHistory::Inspection::kQuick && bytes > kLargeBytes) {
        checks.clear();
        SQLite::Statement tables(database, "SELECT name FROM sqlite_schema WHERE type = 'table' AND name <> 'body'");
        while (tables.executeStep())
            checks.push_back("PRAGMA quick_check('" + tables.getColumn(0).getString() + "')");
    }
    for (const std::string& check : checks) {
        std::string result = database.execAndGet(check).getString();
        if (result != "ok") return result;
    }
    return "";
}

// What is wrong with the history; empty if nothing is.
std::string damageOf(SQLite::Database& database, WritableHistory::Inspection inspection) {
    std::string damage = structuralDamageOf(database, inspection);
    if (!damage.empty()) return damage;
    // The tables have to be those that a new history would have; others do not matter.
    SQLite::Database fresh(":memory:", SQLite::OPEN_READWRITE);
    fresh.exec(kSchema);
    SQLite::Statement wanted(fresh, "SELECT name, sql FROM sqlite_schema WHERE sql IS NOT NULL");
    SQLite::Statement found(database, "SELECT count(*) FROM sqlite_schema WHERE name = ? AND sql = ?");
    while (wanted.executeStep()) {
        found.bind(1, wanted.getColumn(0).getString());
        found.bind(2, wanted.getColumn(1).getString());
        found.executeStep();
        if (found.getColumn(0).getInt() != 1) return "no such table: " + wanted.getColumn(0).getString();
        found.reset();
    }
    const std::int64_t last = database.execAndGet("SELECT ifnull(max(rec), 0) FROM record_numbers").getInt64();
    return last > kLastPlausibleRecord ? sqlite3_errstr(SQLITE_CORRUPT) : "";
}

// Whether a failure comes from the contents of the file, and not from its surroundings.
bool tellsDamage(const SQLite::Exception& error) {
    const int code = error.getErrorCode();
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB || code == SQLITE_ERROR;
}

std::string asideName(const std::string& path) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    std::string name = timestamp(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
    // Only digits and the two letters: such a name needs no quotes in a shell.
    name.erase(std::remove_if(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }),
               name.end());
    return path + ".aside-" + name;
}

void checkVersion(const std::string& path, SQLite::Database& database) {
    const int version = database.execAndGet("PRAGMA user_version").getInt();
    if (version <= kHistoryVersion) return;
    throw HistoryException(historyMessage("ERR_HISTORY_NEWER", path.c_str(), version, kHistoryVersion));
}

std::string uriOf(const std::string& path) {
    std::string uri = "file:";
    for (const char byte : path) {
        std::array<char, 4> hex;
        std::snprintf(hex.data(), hex.size(), "%%%02X", static_cast<unsigned char>(byte));
        uri += hex.data();
    }
    return uri;
}

std::unique_ptr<SQLite::Database> connectedTo(const std::string& path, int flags) {
    auto database = std::make_unique<SQLite::Database>(path, SQLite::OPEN_READONLY | flags, kBusyTimeoutMs);
    // Of a file that was cut off SQLite reads nothing at all otherwise. Nothing is written through this connection.
    database->exec("PRAGMA writable_schema = ON");
    return database;
}

// Opens a history for reading, also where nothing may be written beside it: then as an immutable file.
std::unique_ptr<SQLite::Database> openReadOnly(const std::string& path, bool& immutable) {
    if (::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0) failWith(path, errno);
    return withHistory(path, [&] {
        immutable = false;
        auto database = connectedTo(path, 0);
        try {
            database->execAndGet("PRAGMA schema_version");
        } catch (const SQLite::Exception&) {
            // Without write access SQLite cannot create the files beside it that it reads through. If there is no log,
            // the file is all that there is.
            if (exists(walOf(path))) throw;
            immutable = true;
            database = connectedTo(uriOf(path) + "?immutable=1", SQLite::OPEN_URI);
        }
        if (database->execAndGet("PRAGMA application_id").getInt() != kApplicationId)
            throw HistoryException(historyMessage("ERR_HISTORY_FOREIGN", path.c_str()));
        checkVersion(path, *database);
        return database;
    });
}

}  // namespace

void renameNew(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
    // Not every file system knows the flag.
    if (errno == EINVAL && !exists(to) && ::rename(from.c_str(), to.c_str()) == 0) return;
    failWith(to, errno);
}

WritableHistory::WritableHistory(const std::string& path, Inspection inspection)
    : m_path(resolved(path)), m_inspection(inspection) {
    withHistory(m_path, [this] {
        if (!openExisting()) connect();
    });
}

WritableHistory::~WritableHistory() = default;

bool WritableHistory::isInPlace() const {
    return names(m_path, m_file.get());
}

std::uint64_t WritableHistory::walBytes() const {
    struct stat wal {};
    return ::stat(walOf(m_path).c_str(), &wal) == 0 ? static_cast<std::uint64_t>(wal.st_size) : 0;
}

std::uint64_t WritableHistory::freeBytes() const {
    struct statvfs system {};
    if (::fstatvfs(m_file.get(), &system) != 0) failWith(m_path, errno);
    return std::uint64_t{system.f_bavail} * system.f_frsize;
}

// Gives whether the history is open. If not, there is a new one to connect to.
bool WritableHistory::openExisting() {
    m_file = FileDescriptor(::open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    if (m_file.get() < 0) {
        if (errno != ENOENT) failWith(m_path, errno);
        create(false);
        return false;
    }
    lockForWriting(m_path, m_file.get());
    if (!isInPlace()) throw HistoryException(historyMessage("ERR_HISTORY_LOCKED", m_path.c_str()));
    if (isEmpty()) {
        create(true);
        return false;
    }
    refuseForeign();
    if (openSound()) return true;
    create(false);
    return false;
}

bool WritableHistory::isEmpty() const {
    struct stat file {};
    if (::fstat(m_file.get(), &file) != 0) failWith(m_path, errno);
    return S_ISREG(file.st_mode) && file.st_size == 0;
}

// A file that somebody else needs is neither written nor renamed.
void WritableHistory::refuseForeign() const {
    std::array<char, 100> header{};
    const ssize_t size = ::pread(m_file.get(), header.data(), header.size(), 0);
    if (size < 0) failWith(m_path, errno);
    if (!looksLikeHistory({header.data(), static_cast<std::size_t>(size)}))
        throw HistoryException(historyMessage("ERR_HISTORY_FOREIGN", m_path.c_str()));
}

// Connects to the history that is there; sets it aside, and gives false, if it is of no use.
bool WritableHistory::openSound() {
    const std::string aside = asideName(m_path);
    std::string damage;
    try {
        connect();
        checkVersion(m_path, *m_database);
        const int version = m_database->execAndGet("PRAGMA user_version").getInt();
        if (version < kHistoryVersion) {
            setAside(historyMessage("INFO_HISTORY_OLDER", m_path.c_str(), aside.c_str(), version), aside);
            return false;
        }
        damage = damageOf(*m_database, m_inspection);
        // A damaged header can forbid writing, which the permissions allow.
        if (damage.empty() && sqlite3_db_readonly(m_database->getHandle(), "main") == 1)
            damage = sqlite3_errstr(SQLITE_READONLY);
    } catch (const SQLite::Exception& error) {
        if (!tellsDamage(error)) throw;
        damage = error.what();
    }
    if (damage.empty()) return true;
    setAside(historyMessage("INFO_HISTORY_DAMAGED", m_path.c_str(), aside.c_str(), damage.c_str()), aside);
    return false;
}

// Left beside a new history the log would be taken for the new one's, so it always goes first.
void WritableHistory::setLogAside(const std::string& aside) const {
    if (walBytes() == 0) {
        std::remove(walOf(m_path).c_str());
    } else {
        renameNew(walOf(m_path), walOf(aside));
    }
    std::remove(shmOf(m_path).c_str());
}

void WritableHistory::setAside(const String& notice, const std::string& aside) {
    m_database.reset();
    setLogAside(aside);
    renameNew(m_path, aside);
    m_file = {};
    m_notice = notice;
}

// The history appears under its name only when it is complete, and locked.
void WritableHistory::create(bool replace) {
    const std::string fresh = m_path + ".new";
    FileDescriptor file(::open(fresh.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (file.get() < 0) failWith(fresh, errno);
    lockForWriting(fresh, file.get());
    if (!names(fresh, file.get())) throw HistoryException(historyMessage("ERR_HISTORY_LOCKED", m_path.c_str()));
    // What an attempt left that was killed.
    if (::ftruncate(file.get(), 0) != 0) failWith(fresh, errno);
    for (const std::string& stale : {fresh + "-journal", walOf(fresh), shmOf(fresh)})
        std::remove(stale.c_str());
    {
        SQLite::Database database(fresh, SQLite::OPEN_READWRITE);
        database.exec("PRAGMA auto_vacuum = INCREMENTAL");  // has to come before the first table
        database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
        database.exec("PRAGMA user_version = " + std::to_string(kHistoryVersion));
        database.exec(std::string("BEGIN;") + kSchema + "COMMIT");
        database.exec("PRAGMA journal_mode = WAL");
    }
    setLogAside(asideName(m_path));
    if (!replace) {
        renameNew(fresh, m_path);
    } else if (::rename(fresh.c_str(), m_path.c_str()) != 0) {
        failWith(m_path, errno);
    }
    m_file = std::move(file);
}

void WritableHistory::connect() {
    m_database = std::make_unique<SQLite::Database>(m_path, SQLite::OPEN_READWRITE, kBusyTimeoutMs);
    m_database->exec("PRAGMA journal_mode = WAL");
    m_database->exec("PRAGMA synchronous = NORMAL");
    m_database->exec("PRAGMA journal_size_limit = 16777216");
}

ReadableHistory::ReadableHistory(const std::string& path) : m_path(path) {
    open();
}

ReadableHistory::FileState ReadableHistory::stateNow() const {
    struct stat file {};
    if (::stat(m_path.c_str(), &file) != 0) return m_state;  // removed: what is open can still be read
    constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
    return {file.st_dev, file.st_ino, file.st_mtim.tv_sec * kNanosPerSecond + file.st_mtim.tv_nsec};
}

void ReadableHistory::open() {
    m_state = stateNow();
    m_database = openReadOnly(m_path, m_isImmutable);
}

void ReadableHistory::openAnewIfChanged() {
    const FileState now = stateNow();
    const bool isReplaced = now.device != m_state.device || now.inode != m_state.inode;
    // A file that was opened as one that nobody changes is not watched by SQLite.
    const bool isChanged = m_isImmutable && (now.modifiedNs != m_state.modifiedNs || exists(walOf(m_path)));
    if (!isReplaced && !isChanged) return;
    open();
    if (isReplaced) ++m_replacements;
}

}  // namespace vexo
