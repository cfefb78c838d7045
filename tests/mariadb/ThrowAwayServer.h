// SPDX-License-Identifier: MIT
// A MariaDB server of its own for a test, and what a test does with it.
#ifndef VEXO_TESTS_MARIADB_THROWAWAYSERVER_H
#define VEXO_TESTS_MARIADB_THROWAWAYSERVER_H

#include <mysql.h>
#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

std::string contents(const std::string& path);

// A shell command that runs beside the test. Once it has written a page that nobody reads, it has to wait.
class Program {
public:
    explicit Program(const std::string& command);

    // Reads both of its outputs to the end. The exit status, 128 and the signal's number for a signal.
    int finish();

    std::string output;

private:
    FILE* m_stream;
};

class MissingServer : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

class ThrowAwayServer {
public:
    // Starts one with further options. Throws MissingServer where none is installed.
    explicit ThrowAwayServer(const std::string& options = "");
    ~ThrowAwayServer();
    ThrowAwayServer(const ThrowAwayServer&) = delete;
    ThrowAwayServer& operator=(const ThrowAwayServer&) = delete;

    void sendSignal(int number) const;

    // What the command line client answers as root, columns separated by tabs and rows by line feeds.
    std::string ask(const std::string& statement) const;
    std::uint64_t askNumber(const std::string& statement) const { return std::stoull(ask(statement)); }

    std::string socket;
    std::string tcp;  // 127.0.0.1:port
    unsigned port = 0;
    std::string directory;

private:
    FILE* m_script = nullptr;
    pid_t m_server = -1;
};

// A session of root's that a test controls.
class Session {
public:
    explicit Session(const ThrowAwayServer& server, const std::string& programName = "session");

    // Runs a statement to its end, failing the test if it fails; or leaves it running, for one that will block.
    void run(const std::string& statement);
    void begin(const std::string& statement);

    std::uint32_t id() const { return static_cast<std::uint32_t>(mysql_thread_id(m_mysql.get())); }

private:
    struct Close {
        void operator()(MYSQL* mysql) const { mysql_close(mysql); }
    };
    std::unique_ptr<MYSQL, Close> m_mysql;
};

#endif
