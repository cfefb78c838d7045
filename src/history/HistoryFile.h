// SPDX-License-Identifier: MIT
// The file of a history: opened for reading, or for the one program that writes it.
#ifndef VEXO_HISTORY_HISTORYFILE_H
#define VEXO_HISTORY_HISTORYFILE_H

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Transaction.h>

#include <cstdint>
#include <memory>
#include <string>

#include "foundation/Exception.h"
#include "foundation/FileDescriptor.h"
#include "messages/MessageHelper.h"

namespace vexo {

// A history cannot be read or written. The message names the file and the reason.
class HistoryException : public Exception {
public:
    using Exception::Exception;
};

// How long to wait for somebody who changes the file by hand.
inline constexpr int kBusyTimeoutMs = 2000;

// The sentence under VEXO_ + `key`.
template <typename... Arguments>
String historyMessage(const char* key, Arguments... arguments) {
    return MessageHelper("AGENT", "AGENT_").getResStr(key, arguments...);
}

// Runs `action`; what SQLite reports becomes a HistoryException that names the file.
template <typename Action>
auto withHistory(const std::string& path, Action action) {
    try {
        return action();
    } catch (const SQLite::Exception& error) {
        throw HistoryException(historyMessage("ERR_HISTORY", path.c_str(), error.what()));
    }
}

// The names of the files that SQLite keeps beside `path`.
inline std::string walOf(const std::string& path) {
    return path + "-wal";
}
inline std::string shmOf(const std::string& path) {
    return path + "-shm";
}

// Renames a file where nothing has the new name. Throws HistoryException.
void renameNew(const std::string& from, const std::string& to);

// A history that is open for writing, by nobody else. One that is damaged, or of an older version, has been renamed; a
// file that is missing or empty is created, for its owner alone to read.
class WritableHistory {
public:
    // How much is looked at before the file is written.
    enum class Inspection : std::uint8_t {
        kQuick,  // of a large file all but the bodies, whose checksums tell damage when they are read
        kWhole,
    };

    // Throws HistoryException for a file that another program writes, a newer version, and a file that is no history.
    WritableHistory(const std::string& path, Inspection inspection);
    ~WritableHistory();
    WritableHistory(const WritableHistory&) = delete;
    WritableHistory& operator=(const WritableHistory&) = delete;

    // Without symbolic links.
    const std::string& path() const { return m_path; }
    SQLite::Database& database() { return *m_database; }
    // What became of the file that was there; empty if nothing did.
    const String& notice() const { return m_notice; }
    // Whether the path still leads to this file, which may have been moved or removed meanwhile.
    bool isInPlace() const;
    // Bytes of the log that SQLite keeps beside the file until it takes it over.
    std::uint64_t walBytes() const;
    // Bytes that the file system has left for ordinary users.
    std::uint64_t freeBytes() const;

private:
    bool openExisting();
    bool isEmpty() const;
    void refuseForeign() const;
    bool openSound();
    void setAside(const String& notice, const std::string& aside);
    void setLogAside(const std::string& aside) const;
    void create(bool replace);
    void connect();

    const std::string m_path;
    const Inspection m_inspection;
    // Holds the lock. Has to outlive the connection: closing it lets go of the locks that SQLite holds on the file.
    FileDescriptor m_file;
    std::unique_ptr<SQLite::Database> m_database;
    String m_notice;
};

// A history that is open for reading, also where nothing may be written beside it. It may be written, moved and replaced
// meanwhile. For use by one thread.
class ReadableHistory {
public:
    // Throws HistoryException for a newer version, for what is no history, and for what cannot be read.
    explicit ReadableHistory(const std::string& path);

    const std::string& path() const { return m_path; }
    // Gives what `action` gives of the database, of which it sees one state. Nothing is held on to behind it, so that the
    // log does not grow. Throws HistoryException.
    template <typename Action>
    auto read(Action action) {
        return withHistory(m_path, [&] {
            openAnewIfChanged();
            SQLite::Transaction transaction(*m_database);
            return action(*m_database);
        });
    }
    // For what does not go into a transaction. What it shows may change with every statement.
    SQLite::Database& database() { return *m_database; }
    // How often another file was found under the path.
    std::uint64_t replacements() const { return m_replacements; }

private:
    // What tells one file from another, and one state of it from another.
    struct FileState {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t modifiedNs = 0;
    };

    FileState stateNow() const;
    void open();
    void openAnewIfChanged();

    const std::string m_path;
    std::unique_ptr<SQLite::Database> m_database;
    bool m_isImmutable = false;  // opened as a file that nobody changes
    FileState m_state;
    std::uint64_t m_replacements = 0;
};

}  // namespace vexo

#endif
