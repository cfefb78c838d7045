// SPDX-License-Identifier: MIT
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <random>

#include "Support.h"
#include "http/Accept.h"
#include "http/MetricsSink.h"

namespace {

using std::chrono::steady_clock;

class Client {
public:
    Client(std::uint16_t port, bool ipv6 = false) : m_socket(::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in four{};
        four.sin_family = AF_INET;
        four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        sockaddr_in6 six{};
        six.sin6_family = AF_INET6;
        six.sin6_addr = in6addr_loopback;
        four.sin_port = six.sin6_port = htons(port);
        const auto* const address = ipv6 ? reinterpret_cast<sockaddr*>(&six) : reinterpret_cast<sockaddr*>(&four);
        m_connected = ::connect(m_socket.get(), address, ipv6 ? sizeof six : sizeof four) == 0;
        const timeval patience{20, 0};
        ::setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    bool connected() const { return m_connected; }
    void send(std::string_view bytes) const { ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    // Until the server closes.
    std::string receive() const {
        std::string all;
        char some[65536];
        for (ssize_t size; (size = ::recv(m_socket.get(), some, sizeof some, 0)) > 0;)
            all.append(some, std::size_t(size));
        return all;
    }

private:
    FileDescriptor m_socket;
    bool m_connected = false;
};

std::string fetch(std::uint16_t port, const std::string& line, const std::string& headers = "", bool ipv6 = false) {
    const Client client(port, ipv6);
    client.send(line + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" + headers + "\r\n");
    return client.receive();
}

std::string statusOf(const std::string& answer) {
    return answer.substr(0, answer.find("\r\n")).substr(0, 12);
}

RecordPtr recordOfNow() {
    auto record = std::make_shared<Record>();
    record->monotonicUs = RecordClocks::systemMonotonicUs();
    record->sections[3].state = SectionState::kWhole;
    record->usage.emplace();
    return record;
}

class Http : public testing::Test {
protected:
    void SetUp() override { m_sink.open(); }
    String m_told;
    MetricsSink m_sink{ListenAddress("0"), 60'000, {}, [this](const String& told) { m_told += told; }};
};

}  // namespace

TEST(Accept, ChoosesTheForm) {
    const std::tuple<const char*, bool> rows[] = {
        {"", false},
        {"*/*", false},
        {"image/png", false},
        {"application/openmetrics-text", true},
        {"APPLICATION/OpenMetrics-Text ; Version=1.0.0 ; charset=utf-8", true},
        {"application/openmetrics-text;version=\"1.0.0\"", true},
        {"application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;q=0.75,"
         "text/plain;version=0.0.4;q=0.5,*/*;q=0.1",
         true},
        {"application/openmetrics-text;version=0.0.1,text/plain;version=0.0.4;q=0.5", false},
        {"application/openmetrics-text;q=0.2, text/plain;q=0.3", false},
        {"application/openmetrics-text;q=0", false},
        {"application/openmetrics-text;q=nan", false},
        {"application/openmetrics-text;q=9", false},
        {",;,=;q=,text/plain;;q", false},
    };
    for (const auto& [accept, openMetrics] : rows)
        EXPECT_EQ(formatFor(accept) == ExpositionFormat::kOpenMetrics, openMetrics) << accept;
}

TEST(ListenAddress, TakesWhatIsUnambiguous) {
    for (const char* text : {"", ":", "x:", ":9187", "127.0.0.1", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1: 1",
                             "::1:9187", "[]:9187", "[127.0.0.1]:9187", "9187 "})
        EXPECT_EQ(failure([=] { ListenAddress address(text); }), concat(L"Exception: no address ", widen(text)));
    for (const auto& [text, sockets] : std::initializer_list<std::tuple<const char*, std::size_t>>{
             {"0", 2}, {"127.0.0.1:0", 1}, {"[::1]:0", 1}, {"*:0", 1}})
        EXPECT_EQ(ListenAddress(text).listen().size(), sockets) << text;
    // Taken by another, of no machine, and of another machine.
    const auto taken = ListenAddress("127.0.0.1:0").listen();
    const std::string text = "127.0.0.1:" + std::to_string(portOf(taken[0]));
    EXPECT_EQ(failure([&] { ListenAddress(text).listen(); }), widen("Exception: " + text + ": Address already in use"));
    EXPECT_EQ(failure([] { ListenAddress("192.0.2.1:0").listen(); }),
              L"Exception: 192.0.2.1:0: Cannot assign requested address");
}

TEST_F(Http, AnswersByBothKindsOfAddress) {
    const std::string open = "application/openmetrics-text";
    const std::tuple<std::string, std::string, const char*, const char*> before[] = {
        {"GET /healthz", "", "HTTP/1.1 503", "\r\n\r\ndown\n"},
        {"GET /metrics", "", "HTTP/1.1 200", "\nvexo_up 0\n"},
    };
    const std::tuple<std::string, std::string, const char*, const char*> after[] = {
        {"GET /healthz", "", "HTTP/1.1 200", "\r\n\r\nup\n"},
        {"GET http://shop:9187/healthz?x=y", "", "HTTP/1.1 200", "\r\n\r\nup\n"},
        {"GET /", "", "HTTP/1.1 200", "<a href=\"metrics\">"},
        {"GET /metrics?x=y", "", "HTTP/1.1 200", "Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n"},
        {"GET /metrics", "Accept: " + open + "\r\n", "HTTP/1.1 200", "version=1.0.0; charset=utf-8\r\n"},
        {"GET /metrics", "Accept: " + open + "\r\n", "HTTP/1.1 200", "\nvexo_up 1\n"},
        {"HEAD /metrics", "", "HTTP/1.1 200", "\r\n\r\n"},
        {"GET /metrics/../secret", "", "HTTP/1.1 404", "not found"},
        {"DELETE /metrics", "", "HTTP/1.1 405", "Allow: GET, HEAD\r\n"},
        {"POST /metrics", "Content-Length: 1048576\r\n", "HTTP/1.1 405", "Allow: GET, HEAD\r\n"},
        {"GET /" + std::string(1 << 20, 'x'), "", "HTTP/1.1 414", ""},
        {"GET /metrics", "X: " + std::string(1 << 20, 'x') + "\r\n", "HTTP/1.1 431", ""},
    };
    const auto expect = [this](const auto& rows) {
        for (const auto& [line, headers, status, part] : rows) {
            for (const bool ipv6 : {false, true}) {
                const std::string answer = fetch(m_sink.port(), line, headers, ipv6);
                // A client that is still sending when it is refused may lose the answer.
                if (answer.empty() && line.size() + headers.size() > 1 << 20) continue;
                EXPECT_EQ(statusOf(answer), status) << line.substr(0, 80);
                EXPECT_NE(answer.find(part), std::string::npos) << answer;
            }
        }
    };
    expect(before);
    m_sink.write(recordOfNow());
    expect(after);
    const std::string head = fetch(m_sink.port(), "HEAD /metrics");
    EXPECT_EQ(head.substr(head.size() - 4), "\r\n\r\n");
    const std::uint16_t port = m_sink.port();
    EXPECT_EQ(m_told, L"port " + std::to_wstring(port));
    m_sink.close();
    EXPECT_FALSE(Client(port).connected());
}

TEST_F(Http, SurvivesGarbage) {
    std::mt19937 random(20);
    for (int round = 0; round < 200; ++round) {
        std::string bytes(random() % 5000, ' ');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        if (round % 2 == 0) bytes = "GET /metrics HTTP/1.1\r\n" + bytes + "\r\n\r\n";
        Client(m_sink.port()).send(bytes);
    }
    EXPECT_EQ(statusOf(fetch(m_sink.port(), "GET /metrics")), "HTTP/1.1 200");
}

// The time itself is measured by the benchmark; what may not happen is that somebody waits for the stalled.
TEST_F(Http, IsNotHeldUpByStalledClients) {
    std::vector<Client> stalled;
    for (int number = 0; number < 100; ++number) {
        stalled.emplace_back(m_sink.port());
        stalled.back().send(number % 2 == 0 ? "GET /met" : "");
    }
    const auto start = steady_clock::now();
    for (int round = 0; round < 20; ++round)
        EXPECT_EQ(statusOf(fetch(m_sink.port(), "GET /metrics")), "HTTP/1.1 200");
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(2));
    stalled.back().receive();  // ends when the server gives it up
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(15));
}
