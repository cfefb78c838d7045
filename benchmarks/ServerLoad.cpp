// SPDX-License-Identifier: MIT
// A load on a MariaDB server: sessions that each change a row in a transaction, look at some, and think. Arguments: the
// port on this machine, the number of sessions, and for how many seconds a line counts. Writes a line for every such time:
// transactions a second, the median and the 99th percentile of how long they took in milliseconds. Ends with its reader.
#include <mysql.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::mutex s_mutex;
std::vector<double> s_tookMs;  // guarded by the mutex

void run(MYSQL* session, const std::string& statement) {
    if (mysql_query(session, statement.c_str()) == 0) {
        mysql_free_result(mysql_store_result(session));
        return;
    }
    std::fprintf(stderr, "%s: %s\n", statement.c_str(), mysql_error(session));
    std::exit(1);
}

void work(unsigned int port, unsigned int number) {
    constexpr int kRows = 10'000;
    constexpr int kMostThoughtMs = 200;
    MYSQL* const session = mysql_init(nullptr);
    if (!mysql_real_connect(session, "127.0.0.1", "root", nullptr, "shop", port, nullptr, 0)) std::exit(1);
    std::mt19937 random(number);
    for (;;) {
        const std::string row = std::to_string(random() % kRows);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % kMostThoughtMs));
        const auto start = Clock::now();
        run(session, "BEGIN");
        run(session, "UPDATE items SET stock = stock + 1 WHERE id = " + row);
        std::string sum = "SELECT SUM(stock) FROM items WHERE id BETWEEN ";
        run(session, sum.append(row).append(" AND 100 + ").append(row));
        run(session, "COMMIT");
        const std::chrono::duration<double, std::milli> took = Clock::now() - start;
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_tookMs.push_back(took.count());
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 1;
    const auto port = static_cast<unsigned int>(std::atoi(argv[1]));
    const int sessions = std::atoi(argv[2]);
    const int seconds = std::atoi(argv[3]);
    mysql_library_init(0, nullptr, nullptr);
    for (int number = 0; number < sessions; ++number)
        std::thread(work, port, static_cast<unsigned int>(number)).detach();
    std::vector<double> took;
    do {
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        {
            const std::lock_guard<std::mutex> lock(s_mutex);
            took.swap(s_tookMs);
            s_tookMs.clear();
        }
        std::sort(took.begin(), took.end());
        took.push_back(0);
        std::printf("%.1f %.2f %.2f\n", static_cast<double>(took.size() - 1) / seconds, took[(took.size() - 1) / 2],
                    took[(took.size() - 1) * 99 / 100]);
    } while (std::fflush(stdout) == 0);
    std::_Exit(0);
}
