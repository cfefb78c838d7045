// SPDX-License-Identifier: MIT
#include "ThrowAwayServer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <sstream>

std::string contents(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

Program::Program(const std::string& command) : m_stream(popen(("exec 2>&1; exec " + command).c_str(), "re")) {
    fcntl(fileno(m_stream), F_SETPIPE_SZ, 1);
}

int Program::finish() {
    char buffer[4096];
    while (const std::size_t size = fread(buffer, 1, sizeof buffer, m_stream))
        output.append(buffer, size);
    const int status = pclose(m_stream);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ThrowAwayServer::ThrowAwayServer(const std::string& options) {
    char answers[] = "/tmp/xm-answers.XXXXXX";
    close(mkstemp(answers));
    const std::string command = "'" + std::string(THROW_AWAY_SERVER) + "' " + options + " >" + answers + " 2>&1";
    m_script = popen((command + " || echo \"status $?\" >>" + answers).c_str(), "we");
    std::string text;
    while (!(std::istringstream(text) >> m_server >> socket >> port >> directory)) {
        if (text.find("status ") != std::string::npos) break;
        usleep(10000);
        text = contents(answers);
    }
    unlink(answers);
    tcp = "127.0.0.1:" + std::to_string(port);
    if (!directory.empty()) return;
    pclose(m_script);
    if (text.find("status 77") != std::string::npos) throw MissingServer(text);
    throw std::runtime_error("The server does not start: " + text);
}

ThrowAwayServer::~ThrowAwayServer() {
    pclose(m_script);
}

void ThrowAwayServer::sendSignal(int number) const {
    kill(m_server, number);
}

std::string ThrowAwayServer::ask(const std::string& statement) const {
    const std::string file = directory + "/statement";
    std::ofstream(file) << statement;
    Program client("mariadb --no-defaults --default-character-set=utf8mb4 -S " + socket + " -u root -N -B -r <" + file);
    EXPECT_EQ(client.finish(), 0) << statement << '\n' << client.output;
    if (!client.output.empty()) client.output.pop_back();
    return client.output;
}

Session::Session(const ThrowAwayServer& server, const std::string& programName) : m_mysql(mysql_init(nullptr)) {
    mysql_optionsv(m_mysql.get(), MYSQL_OPT_CONNECT_ATTR_ADD, "program_name", programName.c_str());
    if (mysql_real_connect(m_mysql.get(), "127.0.0.1", "root", "", "shop", server.port, nullptr, 0) == nullptr) {
        throw std::runtime_error(mysql_error(m_mysql.get()));
    }
}

void Session::run(const std::string& statement) {
    EXPECT_EQ(mysql_query(m_mysql.get(), statement.c_str()), 0) << statement << ": " << mysql_error(m_mysql.get());
    mysql_free_result(mysql_store_result(m_mysql.get()));
}

void Session::begin(const std::string& statement) {
    EXPECT_EQ(mysql_send_query(m_mysql.get(), statement.c_str(), statement.size()), 0) << statement;
}
