// SPDX-License-Identifier: MIT
// Any bytes as an address to listen on, as an Accept header, and sent to the endpoint: they are refused, or understood in
// the same way whatever their case, and keep the endpoint from answering nobody.
#include <arpa/inet.h>
#include <pthread.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <set>
#include <string>

#include "foundation/Exception.h"
#include "http/Accept.h"
#include "http/MetricsSink.h"

namespace {

using namespace vexo;

void require(bool holds) {
    if (!holds) std::abort();
}

void checkAddress(const std::string& text) {
    try {
        const ListenAddress address(text);
        require(address.text() == text && std::isdigit(static_cast<unsigned char>(text.back())) != 0);
    } catch (const Exception& error) {
        require(!error.message().empty());
    }
}

void checkAccept(const std::string& accept) {
    std::string upper = accept;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const ExpositionFormat format = formatFor(accept);
    require(formatFor(upper) == format && formatFor(accept + ", text/plain;q=0") == format);
    require(format == ExpositionFormat::kText || upper.find("APPLICATION/OPENMETRICS-TEXT") != std::string::npos);
}

// The fuzzer's own clock is a signal every few seconds, which would cut a wait short; the server's thread takes it meanwhile.
class ClockHeld {
public:
    ClockHeld() {
        sigset_t clock;
        sigemptyset(&clock);
        sigaddset(&clock, SIGALRM);
        require(pthread_sigmask(SIG_BLOCK, &clock, &m_before) == 0);
    }
    ~ClockHeld() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    ClockHeld(const ClockHeld&) = delete;
    ClockHeld& operator=(const ClockHeld&) = delete;

private:
    sigset_t m_before{};
};

// What comes within the time. A client that sends half a request is left waiting; it goes with a reset, because the server
// keeps the place of one that only closes for five seconds, and there are far more here than it has places.
std::string answerTo(std::uint16_t port, const std::string& bytes, timeval patience) {
    const ClockHeld held;
    const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    // Every connection comes from an address of its own: the ports of one are soon used up, each for a minute.
    constexpr std::uint32_t kAddresses = 1U << 20U;
    static std::uint32_t s_client = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + s_client++ % kAddresses);
    require(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    require(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    const linger reset{1, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    std::string answer;
    char some[65536];
    for (ssize_t size = 0; (size = ::recv(socket.get(), some, sizeof some, 0)) > 0;)
        answer.append(some, static_cast<std::size_t>(size));
    return answer;
}

void checkRequest(const std::string& bytes) {
    static MetricsSink s_sink(ListenAddress("127.0.0.1:0"), 60'000, {});
    static const bool s_open = (s_sink.open(), true);
    static const std::set<std::string> s_known = {"200", "400", "404", "405", "411", "413",
                                                  "414", "431", "500", "501", "503", "505"};
    require(s_open);
    constexpr std::string_view kVersion = "HTTP/1.x ";
    const std::string answer = answerTo(s_sink.port(), bytes, {0, 2000});
    if (!answer.empty()) require(s_known.count(answer.substr(kVersion.size(), 3)) == 1);
    const std::string other = answerTo(s_sink.port(), "GET /healthz HTTP/1.1\r\nHost: x\r\n\r\n", {4, 0});
    require(other.size() > kVersion.size() && other.substr(kVersion.size(), 3) == "503");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(bytes), size);
    checkAddress(input);
    checkAccept(input);
    if (input.find('\n') != std::string::npos) checkRequest(input);
    checkRequest("GET /metrics HTTP/1.1\r\nHost: x\r\nAccept: " + input + "\r\n\r\n");
    return 0;
}
